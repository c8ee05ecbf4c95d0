#include "network/class_names_metadata.h"

#include "console/utf8.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace brellix::app {
namespace {

constexpr std::uint32_t kLastCodePoint = 0x10FFFF;

bool isSurrogate(std::uint32_t codePoint) {
    return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}

/// Thrown inside the parser alone.
struct NotNames {};

/// Goes once over the text, from the left.
class NamesParser {
  public:
    explicit NamesParser(std::string_view text) : text_(text) {}

    IndexedNames parse() {
        skipBlanks();
        const char open = take();
        if (open != '{' && open != '[') {
            throw NotNames();
        }
        const char close = open == '{' ? '}' : ']';
        IndexedNames names;
        while (!takeIf(close)) {
            const int index = open == '{' ? takeKey() : static_cast<int>(names.size());
            if (!names.emplace(index, takeString()).second) {
                throw NotNames();
            }
            if (!takeIf(',') && !isNext(close)) {
                throw NotNames();
            }
        }
        skipBlanks();
        if (position_ != text_.size()) {
            throw NotNames();
        }
        return names;
    }

  private:
    char take() {
        if (position_ == text_.size()) {
            throw NotNames();
        }
        return text_[position_++];
    }

    bool isNext(char wanted) {
        skipBlanks();
        return position_ < text_.size() && text_[position_] == wanted;
    }

    bool takeIf(char wanted) {
        const bool found = isNext(wanted);
        position_ += found ? 1 : 0;
        return found;
    }

    void skipBlanks() {
        constexpr std::string_view kBlanks = " \t\r\n";
        while (position_ < text_.size() && kBlanks.find(text_[position_]) != std::string_view::npos) {
            ++position_;
        }
    }

    /// A bare number, or, as JSON has it, one in quotes.
    int takeKey() {
        const bool isQuoted = isNext('"') || isNext('\'');
        const std::string quoted = isQuoted ? takeString() : std::string();
        const int key = isQuoted ? wholeNumber(quoted) : takeNumber();
        if (!takeIf(':')) {
            throw NotNames();
        }
        return key;
    }

    int takeNumber() {
        const std::size_t start = position_;
        while (position_ < text_.size() && text_[position_] >= '0' && text_[position_] <= '9') {
            ++position_;
        }
        return wholeNumber(text_.substr(start, position_ - start));
    }

    static int wholeNumber(std::string_view digits) {
        int value = 0;
        const char* const end = digits.data() + digits.size();
        const std::from_chars_result result = std::from_chars(digits.data(), end, value);
        if (result.ec != std::errc() || result.ptr != end || value < 0) {
            throw NotNames();
        }
        return value;
    }

    std::string takeString() {
        skipBlanks();
        const char quote = take();
        if (quote != '\'' && quote != '"') {
            throw NotNames();
        }
        std::string value;
        for (char c = take(); c != quote; c = take()) {
            if (c == '\\') {
                takeEscape(value);
            } else {
                value += c;
            }
        }
        return value;
    }

    void takeEscape(std::string& value) {
        const char kind = take();
        switch (kind) {
            case 'n':
                value += '\n';
                break;
            case 't':
                value += '\t';
                break;
            case 'r':
                value += '\r';
                break;
            case 'x':
                appendUtf8(takeHex(2), value);
                break;
            case 'u':
                appendUtf8(takeUtf16(), value);
                break;
            case 'U':
                appendUtf8(requireCodePoint(takeHex(8)), value);
                break;
            case '\\':
            case '\'':
            case '"':
            case '/':
                value += kind;
                break;
            default:
                throw NotNames();
        }
    }

    /// JSON writes what lies beyond 16 bits as two escapes.
    std::uint32_t takeUtf16() {
        const std::uint32_t high = takeHex(4);
        if (high < 0xD800 || high > 0xDBFF) {
            return requireCodePoint(high);
        }
        if (take() != '\\' || take() != 'u') {
            throw NotNames();
        }
        const std::uint32_t low = takeHex(4);
        if (low < 0xDC00 || low > 0xDFFF) {
            throw NotNames();
        }
        return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
    }

    static std::uint32_t requireCodePoint(std::uint32_t value) {
        if (value > kLastCodePoint || isSurrogate(value)) {
            throw NotNames();
        }
        return value;
    }

    std::uint32_t takeHex(std::size_t digits) {
        const std::string_view text = text_.substr(position_, digits);
        std::uint32_t value = 0;
        const char* const end = text.data() + text.size();
        const std::from_chars_result result = std::from_chars(text.data(), end, value, 16);
        if (text.size() != digits || result.ec != std::errc() || result.ptr != end) {
            throw NotNames();
        }
        position_ += digits;
        return value;
    }

    std::string_view text_;
    std::size_t position_ = 0;
};

}  // namespace

std::optional<IndexedNames> parseClassNames(const std::string& text) {
    try {
        return NamesParser(text).parse();
    } catch (const NotNames&) {
        return std::nullopt;
    }
}

}  // namespace brellix::app
