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

# run(OUTPUT COMMAND...): standard output, at the root of the repository, of a command that has to succeed.
function(run output)
    execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${SOURCE_DIR}
        OUTPUT_VARIABLE said COMMAND_ERROR_IS_FATAL ANY)
    set(${output} "${said}" PARENT_SCOPE)
endfunction()

# detected(COUNT CONFIG PICTURE): how many objects the program sees.
function(detected count config image)
    run(line ${PREFIX}/bin/brellix detect ${config} ${image} --json -)
    string(JSON objects LENGTH "${line}" objects)
    set(${count} ${objects} PARENT_SCOPE)
endfunction()

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

function(require_count what output pattern expected)
    string(REGEX MATCHALL "${pattern}" found "${output}")
    list(LENGTH found count)
    if(NOT count EQUAL expected OR expected EQUAL 0)
        message(FATAL_ERROR "${what}: ${count} of ${expected} lines that look like ${pattern} in: ${output}")
    endif()
endfunction()

detected(boxes ${shapes}/shapes_fused.yaml ${picture})
run(said ${build}/detect_image ${shapes}/shapes_fused.yaml ${picture} ${WORK_DIR}/annotated.png)
require_count(detect_image "${said}" "[a-z]+ 0\\.[0-9]+ [0-9]+ [0-9]+ [0-9]+ [0-9]+\n" ${boxes})
if(NOT EXISTS ${WORK_DIR}/annotated.png)
    message(FATAL_ERROR "detect_image drew no picture")
endif()

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
