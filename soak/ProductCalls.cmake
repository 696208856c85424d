# Writes the names of all that the product's libraries call and do not define, as strings for an
# array: cmake -DNM=... -DLIBRARIES=a,b -DOUTPUT=... -P ProductCalls.cmake
string(REPLACE "," ";" libraries "${LIBRARIES}")
execute_process(COMMAND ${NM} -u ${libraries} OUTPUT_VARIABLE text ERROR_QUIET
                        COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "U [A-Za-z0-9_]+" symbols "${text}")
list(TRANSFORM symbols REPLACE "^U (__imp_)?" "")
list(FILTER symbols EXCLUDE REGEX "^_Z")
list(SORT symbols)
list(REMOVE_DUPLICATES symbols)
list(TRANSFORM symbols REPLACE "(.+)" "\"\\1\",\n")
list(JOIN symbols "" content)
file(WRITE ${OUTPUT} "${content}")
