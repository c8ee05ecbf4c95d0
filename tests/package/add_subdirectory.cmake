# Builds an example with the whole project as a part of its own, and runs it. That project joins its source files where
# it may, which must not reach ours.

include(${CMAKE_CURRENT_LIST_DIR}/detections.cmake)

file(REMOVE_RECURSE ${WORK_DIR})
file(COPY ${CMAKE_CURRENT_LIST_DIR}/add_subdirectory/CMakeLists.txt ${SOURCE_DIR}/examples/detect_image.cpp
    DESTINATION ${WORK_DIR})
run(said ${CMAKE_COMMAND} -S ${WORK_DIR} -B ${WORK_DIR}/build -G ${GENERATOR} -D BRELLIX_SOURCE_DIR=${SOURCE_DIR}
    -D CMAKE_CXX_COMPILER=${CXX_COMPILER} -D CMAKE_CXX_COMPILER_LAUNCHER=${CXX_COMPILER_LAUNCHER}
    -D CMAKE_UNITY_BUILD=ON "-D CMAKE_CXX_FLAGS=-O2")
cmake_host_system_information(RESULT cores QUERY NUMBER_OF_LOGICAL_CORES)
run(said ${CMAKE_COMMAND} --build ${WORK_DIR}/build --parallel ${cores})
require_detect_image(${WORK_DIR}/build/detect_image models/shapes/shapes_fused.yaml
    models/shapes/demo/shapes_1_960x540.jpg ${WORK_DIR}/annotated.png)
