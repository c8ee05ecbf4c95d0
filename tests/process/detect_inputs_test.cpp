#include "detect_fixture.h"

#include <filesystem>

namespace brellix::testing {
namespace {

using Names = std::vector<std::string>;

class DetectInputs : public DetectTest {
  protected:
    Names sourcesOf(std::vector<std::string> inputs) const {
        inputs.insert(inputs.begin(), {"detect", "model.yaml", "--json", "-"});
        const ProgramResult result = run(inputs);
        EXPECT_EQ(result.status, 0) << result.err;
        return sources(result.out);
    }

    void expectRefusal(std::vector<std::string> inputs, const std::string& named) const {
        inputs.insert(inputs.begin(), {"detect", "model.yaml", "--json", "-"});
        const ProgramResult result = run(inputs);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(named), std::string::npos) << result.err;
    }
};

TEST_F(DetectInputs, FilesKeepTheirOrder) {
    writePicture("b.png");
    writePicture("a.png");
    EXPECT_EQ(sourcesOf({"b.png", "a.png"}), (Names{"b.png", "a.png"}));
}

TEST_F(DetectInputs, FolderGivesItsPicturesSorted) {
    makeFolder("shots/deeper");
    for (const char* name : {"shots/b.png", "shots/a.JPG", "shots/c.bmp", "shots/.hidden.png"}) {
        writePicture(name);
    }
    writePicture("shots/deeper/d.png");
    writeText("shots/notes.txt", "no picture");
    EXPECT_EQ(sourcesOf({"shots"}), (Names{"shots/a.JPG", "shots/b.png", "shots/c.bmp"}));
    EXPECT_EQ(sourcesOf({"shots/"}), (Names{"shots/a.JPG", "shots/b.png", "shots/c.bmp"}));
}

TEST_F(DetectInputs, RecursiveGivesSubfoldersToo) {
    makeFolder("shots/deeper");
    makeFolder("shots/.hidden");
    for (const char* name : {"shots/b.png", "shots/deeper/a.png", "shots/.hidden/c.png"}) {
        writePicture(name);
    }
    EXPECT_EQ(sourcesOf({"shots", "--recursive"}), (Names{"shots/b.png", "shots/deeper/a.png"}));
}

TEST_F(DetectInputs, PatternIsExpandedSorted) {
    for (const char* name : {"b1.png", "a1.png", "a2.png", "c.jpg"}) {
        writePicture(name);
    }
    EXPECT_EQ(sourcesOf({"*.png"}), (Names{"a1.png", "a2.png", "b1.png"}));
    EXPECT_EQ(sourcesOf({"[ab]1.png", "c.*"}), (Names{"a1.png", "b1.png", "c.jpg"}));
}

TEST_F(DetectInputs, NameThatExistsIsNoPattern) {
    writePicture("[ab].png");
    writePicture("a.png");
    EXPECT_EQ(sourcesOf({"[ab].png"}), (Names{"[ab].png"}));
}

TEST_F(DetectInputs, NameInBracketsIsNotTakenApart) {
    makeFolder("[a,b]");
    writePicture("[a,b]/c.png");
    EXPECT_EQ(sourcesOf({"[a,b]"}), (Names{"./[a,b]/c.png"}));
}

TEST_F(DetectInputs, PictureGivenTwiceIsProcessedOnce) {
    writePicture("a.png");
    writePicture("b.png");
    const ProgramResult result =
        run({"detect", "model.yaml", "a.png", "*.png", "./a.png", path("b.png"), "--json", "-"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(sources(result.out), (Names{"a.png", "b.png"}));
    EXPECT_NE(result.err.find("brellix: 3 repetitions among the inputs left out\n"), std::string::npos)
        << result.err;
}

TEST_F(DetectInputs, PathThroughALinkIsWhatItLeadsTo) {
    makeFolder("far/away");
    writePicture("b.png");
    writePicture("far/b.png");
    std::filesystem::create_directory_symlink("far/away", path("link"));
    std::filesystem::create_symlink("b.png", path("c.png"));
    EXPECT_EQ(sourcesOf({"b.png", "link/../b.png", "far/away/../b.png", "c.png"}),
              (Names{"b.png", "link/../b.png", "c.png"}));
}

TEST_F(DetectInputs, NamedFileNeedsNoExtension) {
    writePicture("a.png");
    std::filesystem::rename(path("a.png"), path("picture"));
    EXPECT_EQ(sourcesOf({"picture"}), (Names{"picture"}));
}

TEST_F(DetectInputs, NameAfterTwoDashesMayStartWithADash) {
    writePicture("-a.png");
    EXPECT_EQ(sourcesOf({"--", "-a.png"}), (Names{"-a.png"}));
}

TEST_F(DetectInputs, InputThatGivesNothingIsNamed) {
    writePicture("a.png");
    makeFolder("empty");
    expectRefusal({"a.png", "none.png"}, "input none.png: no such file or folder");
    expectRefusal({"a.png", "*.webp"}, "input *.webp: nothing matches");
    expectRefusal({"a.png", "empty"}, "input empty: no pictures or videos in this folder");
    expectRefusal({"empty", "--recursive"}, "input empty: no pictures or videos in this folder\n");
    expectRefusal({"em*"},
                  "input em*: no pictures or videos in the folders that match; "
                  "--recursive looks into subfolders, too\n");
}

}  // namespace
}  // namespace brellix::testing
