#include "command_line.h"
#include "console/stop_request.h"

#include <exception>

namespace {

using brellix::app::Console;
using brellix::app::ExitStatus;
using brellix::app::Failure;
using brellix::app::OwnOutput;

ExitStatus run(int argc, const char* const* argv) {
    Console console;
    try {
        OwnOutput output;
        return brellix::app::runCommandLine(argc, argv, output, console);
    } catch (const Failure& failure) {
        console.error(failure.what());
        return failure.status();
    } catch (const std::exception& error) {
        console.error(std::string("ended by an unexpected error: ") + error.what());
        return ExitStatus::kFailedAtWork;
    }
}

}  // namespace

int main(int argc, char** argv) {
    const ExitStatus status = run(argc, argv);
    if (status == ExitStatus::kStopped) {
        brellix::app::endBySignal(brellix::app::StopRequest::signal());
    }
    return static_cast<int>(status);
}
