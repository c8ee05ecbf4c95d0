# Compares the symbols that a library exports with the committed list, one mangled name a line, sorted.
# After a deliberate change of the interface: nm -D --defined-only LIBRARY | awk '{print $3}' | sort > LIST

execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "(^|\n)[0-9a-f]+ . " "\\1" output "${output}")
string(STRIP "${output}" output)
string(REPLACE "\n" ";" found "${output}")
list(SORT found)
file(STRINGS ${EXPECTED} expected)
list(SORT expected)

set(unexpected ${found})
list(REMOVE_ITEM unexpected ${expected})
set(missing ${expected})
list(REMOVE_ITEM missing ${found})
if(unexpected OR missing)
    message(FATAL_ERROR "${LIBRARY}\nexported but not listed: ${unexpected}\nlisted but not exported: ${missing}")
endif()
list(LENGTH found count)
message(STATUS "${count} symbols, as listed")
