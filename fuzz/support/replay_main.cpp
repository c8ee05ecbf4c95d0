// Runs a target over stored inputs, without a fuzzer, so that any compiler builds it and every test run
// repeats what was once found.

#include "support/target.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::string current;

/// Nothing that a target calls may end the process, whatever status it gives.
void reportExit() {
    if (!current.empty()) {
        std::cerr << current << ": the process ended in the middle of this input" << std::endl;
        std::abort();
    }
}

/// The files named, and those in the folders named, sorted.
std::vector<std::string> filesOf(int count, char** arguments) {
    std::vector<std::string> files;
    for (int i = 1; i < count; ++i) {
        if (!fs::is_directory(arguments[i])) {
            files.emplace_back(arguments[i]);
            continue;
        }
        for (const fs::directory_entry& entry : fs::directory_iterator(arguments[i])) {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// A copy of exactly the input's size, so that reading past its end is seen.
void runFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot be read");
    }
    const std::vector<char> content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const std::vector<std::uint8_t> bytes(content.begin(), content.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int count, char** arguments) {
    const std::vector<std::string> files = filesOf(count, arguments);
    if (files.empty()) {
        std::cerr << "usage: " << arguments[0] << " FILE|FOLDER...   (no inputs found)" << std::endl;
        return 2;
    }
    std::atexit(reportExit);
    LLVMFuzzerInitialize(&count, &arguments);
    for (const std::string& file : files) {
        current = file;
        try {
            runFile(file);
        } catch (const std::exception& error) {
            std::cerr << file << ": " << error.what() << std::endl;
            std::abort();
        }
    }
    current.clear();
    std::cerr << files.size() << " inputs replayed" << std::endl;
    return 0;
}
