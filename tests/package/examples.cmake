# Builds examples/ against the installed tree and runs each program as its first lines say.

set(build ${WORK_DIR}/build)
set(shapes models/shapes)
set(picture ${shapes}/demo/shapes_1_960x540.jpg)
file(REMOVE_RECURSE ${WORK_DIR})

execute_process(
    COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples -B ${build} -G ${GENERATOR}
        -D CMAKE_PREFIX_PATH=${PREFIX} -D CMAKE_CXX_COMPILER=${CXX_COMPILER}
        "-D CMAKE_CXX_FLAGS=-Wall -Wextra -Werror"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${build} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)

include(${CMAKE_CURRENT_LIST_DIR}/detections.cmake)

# probable(COUNT CONFIG PICTURE THRESHOLD): how many of them have a probability above it.
function(probable count config image threshold)
    run(line ${PREFIX}/bin/brellix detect ${config} ${image} --json -)
    string(JSON objects LENGTH "${line}" objects)
    math(EXPR last "${objects} - 1")
    set(above 0)
    foreach(index RANGE ${last})
        string(JSON prob GET "${line}" objects ${index} prob)
        if(prob GREATER threshold)
            math(EXPR above "${above} + 1")
        endif()
    endforeach()
    set(${count} ${above} PARENT_SCOPE)
endfunction()

require_detect_image(${build}/detect_image ${shapes}/shapes_fused.yaml ${picture} ${WORK_DIR}/annotated.png)

detected(masks ${shapes}/shapes_seg.yaml ${picture})
run(said ${build}/segment_image ${shapes}/shapes_seg.yaml ${picture} ${WORK_DIR}/cutouts)
require_count(segment_image "${said}" "cutout_[0-9]+\\.png [0-5] [1-9][0-9]*\n" ${masks})
file(GLOB cutouts ${WORK_DIR}/cutouts/*.png)
list(LENGTH cutouts cutout_count)
if(NOT cutout_count EQUAL masks)
    message(FATAL_ERROR "segment_image: ${cutout_count} pictures of ${masks} objects")
endif()

# Of the library's objects those stay whose product passes the threshold; on this picture they do not overlap.
probable(products ${shapes}/shapes_fused.yaml ${picture} 0.45)
run(said ${build}/custom_decoding ${shapes}/shapes_fused.yaml ${picture})
require_count(custom_decoding "${said}" "[0-5] 0\\.[0-9]+ [0-9.]+ [0-9.]+ [0-9.]+ [0-9.]+\n" ${products})

file(GLOB pictures RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/${shapes}/demo/*.jpg)
run(said ${build}/worker_pool 3 ${shapes}/shapes_fused.yaml ${pictures})
set(expected "")
foreach(image IN LISTS pictures)
    detected(count ${shapes}/shapes_fused.yaml ${image})
    string(APPEND expected "${image}: ${count} objects\n")
endforeach()
# The models' own lines stand between the results.
string(REGEX REPLACE "(dw: |Destruct )[^\n]*\n" "" results "${said}")
if(NOT results STREQUAL expected)
    message(FATAL_ERROR "worker_pool said: ${results}expected: ${expected}")
endif()

# A video of three frames in the camera's place, written by the program itself.
execute_process(
    COMMAND cat ${picture} ${picture} ${picture}
    COMMAND ${PREFIX}/bin/brellix detect ${shapes}/shapes_fused.yaml - --out ${WORK_DIR} --json -
    WORKING_DIRECTORY ${SOURCE_DIR} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
set(video ${WORK_DIR}/standard-input.avi)
run(lines ${PREFIX}/bin/brellix detect ${shapes}/shapes_fused.yaml ${video} --json -)
string(REGEX MATCHALL "\"box\":" boxes "${lines}")
list(LENGTH boxes expected)
run(said ${build}/watch_camera ${shapes}/shapes_fused.yaml ${video})
require_count(watch_camera "${said}" "[1-9][0-9]* objects, [0-9.]+ ms\n" 3)
string(REGEX MATCHALL "[0-9]+ objects, " counts "${said}")
string(REPLACE " objects, ;" "+" sum "${counts};0")
math(EXPR found "${sum}")
if(NOT found EQUAL expected)
    message(FATAL_ERROR "watch_camera found ${sum} objects, expected ${expected}: ${said}")
endif()
execute_process(COMMAND ${build}/watch_camera ${shapes}/shapes_fused.yaml ${WORK_DIR}/missing.avi
    WORKING_DIRECTORY ${SOURCE_DIR} RESULT_VARIABLE status ERROR_VARIABLE said OUTPUT_QUIET)
if(NOT status EQUAL 2 OR NOT said MATCHES "missing.avi: cannot be opened\n")
    message(FATAL_ERROR "watch_camera without a camera: status ${status}, ${said}")
endif()
