# What the tests of this folder share: programs run at the root of the repository, and how many objects they see.

# run(OUTPUT COMMAND...): standard output of a command that has to succeed.
function(run output)
    execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${SOURCE_DIR}
        OUTPUT_VARIABLE said COMMAND_ERROR_IS_FATAL ANY)
    set(${output} "${said}" PARENT_SCOPE)
endfunction()

# detected(COUNT CONFIG PICTURE): how many objects the installed program sees.
function(detected count config image)
    run(line ${PREFIX}/bin/brellix detect ${config} ${image} --json -)
    string(JSON objects LENGTH "${line}" objects)
    set(${count} ${objects} PARENT_SCOPE)
endfunction()

# require_count(WHAT OUTPUT PATTERN EXPECTED): the output has that many matches, and at least one.
function(require_count what output pattern expected)
    string(REGEX MATCHALL "${pattern}" found "${output}")
    list(LENGTH found count)
    if(NOT count EQUAL expected OR expected EQUAL 0)
        message(FATAL_ERROR "${what}: ${count} of ${expected} lines that look like ${pattern} in: ${output}")
    endif()
endfunction()

# require_detect_image(PROGRAM CONFIG PICTURE RESULT): the example detect_image, however it was built, sees on the picture
# what the installed program sees, and draws it.
function(require_detect_image program config image result)
    detected(boxes ${config} ${image})
    run(said ${program} ${config} ${image} ${result})
    require_count(${program} "${said}" "[a-z]+ 0\\.[0-9]+ [0-9]+ [0-9]+ [0-9]+ [0-9]+\n" ${boxes})
    if(NOT EXISTS ${result})
        message(FATAL_ERROR "${program} drew no picture")
    endif()
endfunction()
