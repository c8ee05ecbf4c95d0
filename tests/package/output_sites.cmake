# Only these files of the libraries may print or end the process: each of them does so by published behaviour.
set(allowed
    src/common/class_names.cpp   # IsFile reports a missing path
    src/common/framework.cpp     # an unknown back-end name
    src/yolov5/yolov5.cpp        # "dw: " and "Destruct yolov5"
    src/yolov8_seg/yolov8_seg.cpp  # a network that the engine refuses
    include/brellix/logger.h     # notices on the logger's environment variables
    engine/src/refusal.cpp       # why the engine refuses something
)

file(GLOB_RECURSE sources RELATIVE ${SOURCE_DIR}
    ${SOURCE_DIR}/src/*.cpp ${SOURCE_DIR}/src/*.h ${SOURCE_DIR}/include/*.h
    ${SOURCE_DIR}/engine/*.cpp ${SOURCE_DIR}/engine/*.h)
list(REMOVE_ITEM sources ${allowed})
list(LENGTH sources count)
if(count LESS 20)
    message(FATAL_ERROR "only ${count} sources found: the check looks in the wrong place")
endif()
# Names as whole words: fprintf, fputs and fwrite show by the stream that they name, and snprintf prints nothing.
set(streams stdout stderr STDOUT_FILENO STDERR_FILENO w?cout w?cerr w?clog)
set(functions v?w?printf v?print println puts putchar putwchar perror _?exit quick_exit _Exit abort terminate)
list(JOIN streams "|" streams)
list(JOIN functions "|" functions)
set(output_site "(^|[^A-Za-z0-9_])((${streams})($|[^A-Za-z0-9_])|(${functions}) *\\(|write *\\( *[12] *,)")
foreach(source IN LISTS sources)
    file(STRINGS ${SOURCE_DIR}/${source} hits REGEX "${output_site}")
    if(hits)
        message(SEND_ERROR "${source} prints or exits: ${hits}")
    endif()
endforeach()
message(STATUS "${count} files neither print nor exit")
