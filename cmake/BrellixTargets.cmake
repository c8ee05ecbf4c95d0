# What all of our targets share: the language, arithmetic that no compiler may fuse or reorder, the warnings.

add_library(brellix_build_flags INTERFACE)
target_compile_features(brellix_build_flags INTERFACE cxx_std_17)
# A fused multiply-add rounds once instead of twice, so the same source would give other bits on Arm than on x86.
target_compile_options(brellix_build_flags INTERFACE -ffp-contract=off)
if(BRELLIX_WARNINGS_AS_ERRORS)
    target_compile_options(brellix_build_flags INTERFACE -Werror)
endif()
target_compile_options(brellix_build_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual)

# brellix_configure_target(<target>): the settings above, hidden visibility, no compiler extensions.
function(brellix_configure_target target)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:brellix_build_flags>)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# brellix_configure_shared_library(<target> <export list>): soname, and only the symbols of the list leave it.
function(brellix_configure_shared_library target export_list)
    brellix_configure_target(${target})
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINK_DEPENDS ${export_list})
    target_link_options(${target} PRIVATE -Wl,--version-script=${export_list})
    # The sanitizers of clang live in the program, so that libraries built for them have open ends.
    if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
endfunction()
