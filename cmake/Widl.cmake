# The type-library compiler, and what it imports: the platform's own definitions come with Wine.
find_program(TVN_WIDL x86_64-w64-mingw32-widl REQUIRED)
find_path(
  TVN_IDL_INCLUDE oaidl.idl
  PATHS /usr/include/wine/wine/windows /usr/include/wine/windows
  NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
find_path(
  TVN_TLB_FOLDER stdole2.tlb
  PATHS /usr/lib/x86_64-linux-gnu/wine/x86_64-windows /usr/lib/wine/x86_64-windows
  NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)

# Makes NAME.tlb, NAME.h and NAME_i.c (the identifiers) from NAME.idl in the folder `output`.
function(tvn_compile_idl idl output)
  get_filename_component(name ${idl} NAME_WE)
  get_filename_component(source ${idl} ABSOLUTE)
  file(MAKE_DIRECTORY ${output})
  set(compile ${TVN_WIDL} --win64 -I ${TVN_IDL_INCLUDE} -L ${TVN_TLB_FOLDER})
  add_custom_command(
    OUTPUT ${output}/${name}.tlb ${output}/${name}.h ${output}/${name}_i.c
    COMMAND ${compile} -t -o ${output}/${name}.tlb ${source}
    COMMAND ${compile} -h -o ${output}/${name}.h ${source}
    COMMAND ${compile} -u -o ${output}/${name}_i.c ${source}
    DEPENDS ${source}
    VERBATIM)
endfunction()
