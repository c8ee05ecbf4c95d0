# Builds an example against the installed tree with make and pkg-config, and runs it.

include(${CMAKE_CURRENT_LIST_DIR}/detections.cmake)

file(REMOVE_RECURSE ${WORK_DIR})
file(COPY ${CMAKE_CURRENT_LIST_DIR}/pkg_config/Makefile ${SOURCE_DIR}/examples/detect_image.cpp DESTINATION ${WORK_DIR})
file(REAL_PATH ${PREFIX} PREFIX)
file(GLOB_RECURSE description ${PREFIX}/*/brellix_model_zoo.pc)
get_filename_component(folder "${description}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${folder})

# The tree was moved after it had been installed: every folder that the file names has to exist where it is now.
foreach(variable includedir libdir)
    run(path pkg-config --variable=${variable} brellix_model_zoo)
    string(STRIP "${path}" path)
    # Blanks and the like are answered with a backslash, for the shell.
    separate_arguments(path UNIX_COMMAND "${path}")
    file(REAL_PATH "${path}" path)
    cmake_path(IS_PREFIX PREFIX "${path}" inside)
    if(NOT inside OR NOT IS_DIRECTORY "${path}")
        message(FATAL_ERROR "${variable} of ${description} is ${path}, expected a folder under ${PREFIX}")
    endif()
endforeach()
run(version pkg-config --modversion brellix_model_zoo)

run(said make --no-print-directory -C ${WORK_DIR} CXX=${CXX_COMPILER})
require_detect_image(${WORK_DIR}/detect_image models/shapes/shapes_fused.yaml
    models/shapes/demo/shapes_1_960x540.jpg ${WORK_DIR}/annotated.png)
message(STATUS "found by pkg-config: ${version}")
