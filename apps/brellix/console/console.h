#pragma once

/// \file
/// Messages for the person, on standard error.

#include <string>

namespace brellix::app {

enum class Verbosity { kQuiet, kNormal, kVerbose };

/// Writes messages, one line each, and keeps one line of progress below them on a terminal.
class Console {
  public:
    void setVerbosity(Verbosity verbosity) { verbosity_ = verbosity; }

    void error(const std::string& message);    ///< always
    void warning(const std::string& message);  ///< unless quiet
    void note(const std::string& message);     ///< unless quiet
    void detail(const std::string& message);   ///< verbose only

    /// \return whether a progress line can be shown: a terminal, and nobody asked for less or more.
    bool hasStatusLine() const;

    /// Shows `text` in place of the status line; call only where `hasStatusLine`.
    void showStatusLine(const std::string& text);

    /// Takes the status line away, so that something else can be written to the same terminal.
    void hideStatusLine();

  private:
    void line(const std::string& text);

    Verbosity verbosity_ = Verbosity::kNormal;
    bool statusLineVisible_ = false;
};

}  // namespace brellix::app
