#include "refusal.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>

namespace ai_orvo::alg::common {
namespace {

/// A tensor's name may hold zero bytes. `what()` would end at the first one, and what to do would be missing.
std::string withoutZeros(std::string sentence) {
    std::replace(sentence.begin(), sentence.end(), '\0', ' ');
    return sentence;
}

void writeLine(const std::string& sentence) {
    std::string line = "brellix_ai_engine: " + sentence;
    for (char& character : line) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x20 || code == 0x7F) {
            character = ' ';
        }
    }
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

Refusal::Refusal(Status status, const std::string& sentence)
    : std::runtime_error(withoutZeros(sentence)), status_(status) {}

void sayOnStandardError(const std::string& sentence) noexcept {
    try {
        writeLine(sentence);
    } catch (...) {
        std::fputs("brellix_ai_engine: out of memory while reporting an error\n", stderr);
    }
}

int reportCurrentException() noexcept {
    try {
        throw;
    } catch (const Refusal& refusal) {
        sayOnStandardError(refusal.what());
        return static_cast<int>(refusal.status());
    } catch (const std::bad_alloc&) {
        std::fputs("brellix_ai_engine: out of memory; use a smaller network or free memory\n", stderr);
    } catch (const std::exception& error) {
        try {
            writeLine(std::string("unexpected error: ") + error.what());
        } catch (...) {
            std::fputs("brellix_ai_engine: out of memory while reporting an error\n", stderr);
        }
    } catch (...) {
        std::fputs("brellix_ai_engine: unexpected error of unknown kind\n", stderr);
    }
    return static_cast<int>(Status::kInternal);
}

}  // namespace ai_orvo::alg::common
