# The target onnxruntime::onnxruntime: from ONNX Runtime's own CMake package where there is one (Debian 13), else from
# headers and library under a prefix: onnxruntime_ROOT, CMAKE_PREFIX_PATH or the system's.
# onnxruntime_SHARES_ONNX: whether it is linked to the system's onnx library, and has none within itself.
find_package(onnxruntime CONFIG QUIET)
if(TARGET onnxruntime::onnxruntime)
    get_target_property(onnxruntime_INCLUDE_DIR onnxruntime::onnxruntime INTERFACE_INCLUDE_DIRECTORIES)
    set(onnxruntime_LIBRARY onnxruntime::onnxruntime)
else()
    # What was found once may have been moved: then both are looked for again, so that they never belong to two versions.
    if(NOT EXISTS "${onnxruntime_INCLUDE_DIR}" OR NOT EXISTS "${onnxruntime_LIBRARY}")
        unset(onnxruntime_INCLUDE_DIR CACHE)
        unset(onnxruntime_LIBRARY CACHE)
    endif()
    find_path(onnxruntime_INCLUDE_DIR onnxruntime_cxx_api.h PATH_SUFFIXES onnxruntime onnxruntime/core/session)
    find_library(onnxruntime_LIBRARY NAMES onnxruntime libonnxruntime.so.1)
    mark_as_advanced(onnxruntime_INCLUDE_DIR onnxruntime_LIBRARY)
    if(onnxruntime_INCLUDE_DIR AND onnxruntime_LIBRARY)
        add_library(onnxruntime::onnxruntime SHARED IMPORTED)
        set_target_properties(onnxruntime::onnxruntime PROPERTIES
            IMPORTED_LOCATION "${onnxruntime_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${onnxruntime_INCLUDE_DIR}")
    endif()
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(onnxruntime REQUIRED_VARS onnxruntime_LIBRARY onnxruntime_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "set onnxruntime_ROOT to a folder made by scripts/get-onnxruntime")

if(onnxruntime_FOUND)
    get_target_property(onnxruntime_location onnxruntime::onnxruntime LOCATION)
    # The libraries that it needs stand in it by their names.
    file(STRINGS "${onnxruntime_location}" onnxruntime_SHARES_ONNX REGEX "^libonnx\\.so" LIMIT_COUNT 1)
endif()
