# Options that cannot be built are refused while configuring, with what to do about them.

# require_refusal(MESSAGE OPTION...): configuring with the options fails, and the reason matches the message.
function(require_refusal message)
    file(REMOVE_RECURSE ${WORK_DIR})
    execute_process(
        COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR} -G ${GENERATOR} -D CMAKE_CXX_COMPILER=${CXX_COMPILER} ${ARGN}
        RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE said)
    # CMake breaks the lines of its messages where it likes.
    string(REGEX REPLACE "[ \n]+" " " said "${said}")
    if(status EQUAL 0 OR NOT said MATCHES "${message}")
        message(SEND_ERROR "cmake ${ARGN} ended with ${status} and said: ${said}; expected: ${message}")
    endif()
endfunction()

require_refusal("so set -DBRELLIX_BUILD_TESTS=ON too"
    -D BRELLIX_BUILD_BENCHMARKS=ON -D BRELLIX_BUILD_TESTS=OFF)
set(engine_file_hint "is no file: set it to the engine library to link")
require_refusal("\\(''\\) ${engine_file_hint}" -D BRELLIX_BUILD_ENGINE=OFF)
require_refusal("${engine_file_hint}" -D BRELLIX_BUILD_ENGINE=OFF -D BRELLIX_ENGINE_LIBRARY=${SOURCE_DIR}/engine)
require_refusal("${engine_file_hint}" -D BRELLIX_BUILD_ENGINE=OFF -D BRELLIX_ENGINE_LIBRARY=${SOURCE_DIR}/missing.so.1)
