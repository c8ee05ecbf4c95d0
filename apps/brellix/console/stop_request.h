#pragma once

/// \file
/// Ending a run between two frames when somebody asks for it.

namespace brellix::app {

/// While one exists, the first SIGINT, SIGTERM or SIGHUP only leaves a request, and the second ends the
/// process at once, as it would without this class. One at a time.
///
/// A signal that the program was started to ignore (`nohup`, a job in the background) stays ignored.
class StopRequest {
  public:
    /// Throws `Failure` where the system gives no pipe.
    StopRequest();
    StopRequest(const StopRequest&) = delete;
    StopRequest& operator=(const StopRequest&) = delete;
    ~StopRequest();

    /// \return the signal that asked, 0 while none has.
    static int signal();

    /// \return the name of the signal that asked, for example "SIGINT".
    static const char* signalName();

    static bool isMade() { return signal() != 0; }

    /// Waits until `descriptor` can be read or the request is made.
    /// \return whether it can be read.
    static bool waitForInput(int descriptor);
};

/// Ends the process as `signal` would have ended it, so that a shell or a supervisor sees what happened; a
/// shell shows 128 + signal as the status.
[[noreturn]] void endBySignal(int signal);

}  // namespace brellix::app
