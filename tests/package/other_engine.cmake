# Installs the models as they are built for another maker's engine, and builds programs against them as a stranger would.
# Nothing is compiled twice: this build's library of the models is the same, and a copy of its engine, in a folder of its
# own, stands for the other one.

include(${CMAKE_CURRENT_LIST_DIR}/detections.cmake)

set(maker "${WORK_DIR}/the maker")
# A name that no installed package has; the loader goes by the soname.
set(engine ${maker}/libother_engine.so)
set(build ${WORK_DIR}/build)
set(prefix ${WORK_DIR}/prefix)
set(consumer ${WORK_DIR}/consumer)

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${maker})
file(COPY_FILE ${ENGINE} ${maker}/libbrellix_ai_engine.so.1)
file(CREATE_LINK libbrellix_ai_engine.so.1 ${engine} SYMBOLIC)
# Without search paths, of which the file that is built elsewhere has others.
run(said ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${build} -G ${GENERATOR} -D CMAKE_CXX_COMPILER=${CXX_COMPILER}
    -D BRELLIX_BUILD_ENGINE=OFF -D BRELLIX_ENGINE_LIBRARY=${engine} -D BRELLIX_BUILD_APPS=OFF -D BRELLIX_BUILD_TESTS=OFF
    -D CMAKE_SKIP_RPATH=ON)
cmake_path(GET MODEL_ZOO PARENT_PATH built)
file(GLOB libraries ${built}/libbrellix_model_zoo.so*)
file(COPY ${libraries} DESTINATION ${build}/lib)
run(said ${CMAKE_COMMAND} --install ${build} --prefix ${prefix})
file(GLOB_RECURSE engines ${prefix}/*libbrellix_ai_engine*)
if(engines)
    message(FATAL_ERROR "the other maker's engine is installed with the models: ${engines}")
endif()

# The project asks for an older language: what the headers need comes with each target.
file(COPY ${SOURCE_DIR}/examples/detect_image.cpp DESTINATION ${consumer})
file(WRITE ${consumer}/engine.cpp [[
#include <brellix/ai_engine.h>
static_assert(__cplusplus >= 201703L, "the target does not say which language its header needs");
int main() {
    ai_orvo::alg::common::AIEngine engine;
    ai_orvo::alg::common::TensorMap inputs;
    ai_orvo::alg::common::TensorMap outputs;
    return engine.DoInference(inputs, outputs) == 6 ? 0 : 1;  // there is no network
}
]])
file(WRITE ${consumer}/CMakeLists.txt [[
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 11)
find_package(brellix_model_zoo 1 REQUIRED)
find_package(OpenCV REQUIRED COMPONENTS imgcodecs)
add_executable(detect_image detect_image.cpp)
target_link_libraries(detect_image PRIVATE brellix::model_zoo opencv_imgcodecs)
add_executable(engine engine.cpp)
target_link_libraries(engine PRIVATE brellix::ai_engine)
]])
set(configure_consumer ${CMAKE_COMMAND} -S ${consumer} -G ${GENERATOR} -D CMAKE_PREFIX_PATH=${prefix}
    -D CMAKE_CXX_COMPILER=${CXX_COMPILER})
run(said ${configure_consumer} -B ${consumer}/build)
run(said ${CMAKE_COMMAND} --build ${consumer}/build)
run(said ${consumer}/build/engine)
run(said ${consumer}/build/detect_image models/shapes/shapes_fused.yaml models/shapes/demo/shapes_1_960x540.jpg
    ${consumer}/annotated.png)
require_count(detect_image "${said}" "dw: " 1)

file(GLOB_RECURSE description ${prefix}/*/brellix_model_zoo.pc)
cmake_path(GET description PARENT_PATH folder)
set(ENV{PKG_CONFIG_PATH} ${folder})
run(flags pkg-config --cflags --libs brellix_model_zoo)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(said ${CXX_COMPILER} -std=c++17 ${consumer}/engine.cpp ${flags} -o ${consumer}/by_pkg_config)
set(ENV{LD_LIBRARY_PATH} "${folder}/..:${maker}")
run(said ${consumer}/by_pkg_config)

# Where the engine is not, the package says so.
file(REMOVE ${engine})
execute_process(COMMAND ${configure_consumer} -B ${consumer}/without_engine
    RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE said)
string(REGEX REPLACE "[ \n]+" " " said "${said}")
if(status EQUAL 0 OR NOT said MATCHES "engine libother_engine.so is not found: install it, or set -Dbrellix_ENGINE_LIBRARY")
    message(FATAL_ERROR "without the engine cmake ended with ${status} and said: ${said}")
endif()
