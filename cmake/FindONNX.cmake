# The targets ONNX::onnx and ONNX::onnx_proto, from the onnx library's own CMake package. Older ones (Debian 12) name
# them without the namespace.
find_package(Protobuf QUIET)
find_package(ONNX CONFIG QUIET)
foreach(name onnx onnx_proto)
    if(TARGET ${name} AND NOT TARGET ONNX::${name})
        add_library(ONNX::${name} ALIAS ${name})
    endif()
endforeach()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(ONNX CONFIG_MODE
    REASON_FAILURE_MESSAGE "Debian has it as libonnx-dev, scripts/install-packages installs all that the build needs")
