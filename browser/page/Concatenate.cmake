# Puts the files of the macro page's library into one function, in the order of FILES.
file(WRITE ${OUTPUT} "(() => {\n\"use strict\";\n")
foreach(file IN LISTS FILES)
  file(READ ${file} text)
  file(APPEND ${OUTPUT} "${text}")
endforeach()
file(APPEND ${OUTPUT} "})()\n")
