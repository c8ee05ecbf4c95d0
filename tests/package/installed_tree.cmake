# Installs the build into a scratch prefix, moves it, and builds the README's example against it as a stranger would.

set(prefix ${WORK_DIR}/prefix)
set(consumer ${WORK_DIR}/consumer)
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/first
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
# An installed tree may be moved.
file(RENAME ${WORK_DIR}/first ${prefix})

file(READ ${SOURCE_DIR}/README.md readme)
if(NOT readme MATCHES "```cpp\n([^`]+)```")
    message(FATAL_ERROR "README.md has no C++ example")
endif()
file(WRITE ${consumer}/main.cpp "${CMAKE_MATCH_1}")
file(COPY_FILE ${SOURCE_DIR}/tests/package/find_package/CMakeLists.txt ${consumer}/CMakeLists.txt)

execute_process(
    COMMAND ${CMAKE_COMMAND} -S ${consumer} -B ${consumer}/build -G ${GENERATOR}
        -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_CXX_COMPILER=${CXX_COMPILER}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${consumer}/build OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)

file(GLOB pictures ${SOURCE_DIR}/models/shapes/demo/*)
list(GET pictures 0 picture)
execute_process(
    COMMAND ${consumer}/build/example models/shapes/shapes_fused.yaml ${picture} ${consumer}/result.png
    WORKING_DIRECTORY ${SOURCE_DIR} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
if(NOT EXISTS ${consumer}/result.png OR NOT output MATCHES "dw: ")
    message(FATAL_ERROR "the example drew no picture; it said: ${output}")
endif()

foreach(file man/man1/brellix.1 man/man1/brellix-detect.1 bash-completion/completions/brellix
        zsh/site-functions/_brellix fish/vendor_completions.d/brellix.fish)
    if(NOT EXISTS ${prefix}/share/${file})
        message(FATAL_ERROR "share/${file} is not installed")
    endif()
endforeach()

# The unit belongs to the place where the tree was installed.
file(STRINGS ${prefix}/share/brellix/brellix-detect.service command REGEX "^ExecStart=")
string(FIND "${command}" "ExecStart=\"${WORK_DIR}/first/bin/brellix\" detect " position)
if(NOT position EQUAL 0)
    message(FATAL_ERROR "the unit for systemd starts another program than ${WORK_DIR}/first/bin/brellix: ${command}")
endif()

execute_process(COMMAND ${prefix}/share/brellix/tools/prepare_network.py --help OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${prefix}/bin/brellix --version OUTPUT_VARIABLE version COMMAND_ERROR_IS_FATAL ANY)
message(STATUS "installed, moved, consumed; ${version}")
