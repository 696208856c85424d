# Writes one line for each function that LIBRARIES take from the platform's DLLs.
#
#     cmake -DNM=PROGRAM -DLIBRARIES=FILE,FILE... -DOUTPUT=FILE -P list_imports.cmake

string(REPLACE "," ";" libraries "${LIBRARIES}")
execute_process(COMMAND ${NM} -u ${libraries} OUTPUT_VARIABLE symbols
                COMMAND_ERROR_IS_FATAL ANY ERROR_QUIET)
# Functions of the C runtime begin with a small letter. Some headers declare their functions so that
# they are called through the import library's own jump, which begins with the name itself.
string(REGEX MATCHALL " U (__imp_[A-Z][A-Za-z0-9]+|K32[A-Za-z0-9]+)" names "${symbols}")
list(TRANSFORM names REPLACE " U (__imp_)?" "")
# The entries themselves find the functions with two of these; the third does not return.
list(REMOVE_ITEM names GetProcAddress LoadLibraryA ExitProcess)
# The runtime takes the memory for exceptions from there.
list(APPEND names malloc)
list(REMOVE_DUPLICATES names)
list(SORT names)
list(TRANSFORM names REPLACE "(.+)" "TVN_IMPORT(\\1)")
list(JOIN names "\n" text)
file(WRITE ${OUTPUT} "${text}\n")
