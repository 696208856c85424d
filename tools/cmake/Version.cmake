# The version is given in project() and nowhere else; this passes it to the sources as Version.h. The
# scripting object reports its version as one number: one digit for each of the first three parts,
# and four for the last.
foreach(part MAJOR MINOR PATCH)
  if(NOT PROJECT_VERSION_${part} MATCHES "^[0-9]$")
    message(FATAL_ERROR "The version ${PROJECT_VERSION} has more than one digit in its ${part} part")
  endif()
endforeach()
math(EXPR TVN_INTERFACE_VERSION
     "${PROJECT_VERSION_MAJOR}${PROJECT_VERSION_MINOR}${PROJECT_VERSION_PATCH} * 10000 \
      + ${PROJECT_VERSION_TWEAK}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/Version.h.in ${TVN_INCLUDE}/Version.h @ONLY)
