#include "graph/network_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <system_error>

#include "graph/graph_lookup.h"
#include "graph/stored_tensors.h"
#include "refusal.h"

namespace ai_orvo::alg::common {
namespace {

class FileDescriptor {
  public:
    /// Non-blocking, since opening a pipe would otherwise wait for its writer.
    explicit FileDescriptor(const std::string& path)
        : handle_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~FileDescriptor() {
        if (handle_ >= 0) {
            ::close(handle_);
        }
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return handle_; }

  private:
    int handle_;
};

[[noreturn]] void refuseUnreadable(const std::string& path, const std::string& reason) {
    const bool isRelative = !path.empty() && path.front() != '/';
    throw Refusal(Status::kFileUnreadable,
                  "network file '" + path + "' cannot be read: " + reason +
                      "; set model_path to the network's file" +
                      (isRelative ? ", a relative path starts at the working directory" : ""));
}

[[noreturn]] void refuseForeign(const std::string& path, const std::string& found) {
    throw Refusal(Status::kNotAnOnnxNetwork,
                  "'" + path + "' is not a usable ONNX network: " + found +
                      "; this build runs ONNX networks, other formats need the board's own engine library in "
                      "its place");
}

std::string errnoText(int code) {
    return std::generic_category().message(code);
}

std::size_t regularFileSize(const FileDescriptor& file, const std::string& path) {
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        refuseUnreadable(path, errnoText(errno));
    }
    if (S_ISDIR(status.st_mode)) {
        refuseUnreadable(path, "it is a directory");
    }
    if (!S_ISREG(status.st_mode)) {
        refuseUnreadable(path, "it is not a regular file");
    }
    if (status.st_size == 0) {
        refuseForeign(path, "the file is empty");
    }
    if (status.st_size > INT_MAX) {
        refuseForeign(path, "it has " + std::to_string(status.st_size) + " bytes, an ONNX file at most " +
                                std::to_string(INT_MAX));
    }
    return static_cast<std::size_t>(status.st_size);
}

std::string readBytes(const std::string& path) {
    const FileDescriptor file(path);
    if (file.get() < 0) {
        refuseUnreadable(path, errnoText(errno));
    }
    std::string bytes(regularFileSize(file, path), '\0');
    std::size_t length = 0;
    while (length < bytes.size()) {
        const ssize_t got = ::read(file.get(), &bytes[length], bytes.size() - length);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            refuseUnreadable(path, errnoText(errno));
        }
        if (got == 0) {
            break;
        }
        length += static_cast<std::size_t>(got);
    }
    bytes.resize(length);
    return bytes;
}

/// Libraries would disagree on which of two versions holds.
void checkOperatorSets(const onnx::ModelProto& model, const std::string& path) {
    if (model.opset_import_size() == 0) {
        refuseForeign(path, "it names no operator set (an old or a truncated file)");
    }
    const std::int64_t opset = opsetOf(model);
    for (const onnx::OperatorSetIdProto& set : model.opset_import()) {
        if (isOnnxDomain(set.domain()) && set.version() != opset) {
            refuseForeign(path, "it names ONNX's operator set twice, in version " + std::to_string(opset) +
                                    " and in version " + std::to_string(set.version()));
        }
    }
}

void checkIsNetwork(const onnx::ModelProto& model, const std::string& path) {
    if (!model.has_graph() || model.graph().node_size() == 0 || model.graph().output_size() == 0) {
        refuseForeign(path, "it holds no graph with nodes and outputs");
    }
    checkOperatorSets(model, path);
}

}  // namespace

onnx::ModelProto readNetworkFile(const std::string& path) {
    if (path.empty()) {
        refuseUnreadable(path, "the path is empty");
    }
    const std::string bytes = readBytes(path);
    onnx::ModelProto model;
    if (!model.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()))) {
        refuseForeign(path, "its " + std::to_string(bytes.size()) +
                                " bytes are of another format, truncated or damaged");
    }
    checkIsNetwork(model, path);
    checkStoredTensors(model, path);
    return model;
}

}  // namespace ai_orvo::alg::common
