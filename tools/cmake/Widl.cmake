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

# Makes NAME.tlb, NAME.h and NAME_i.c (the identifiers) from NAME.idl in the folder `output`. The
# results contain neither the time nor the folder in which they were made.
function(tvn_compile_idl idl output)
  get_filename_component(name ${idl} NAME_WE)
  get_filename_component(source ${idl} ABSOLUTE)
  get_filename_component(folder ${source} DIRECTORY)
  get_filename_component(file ${source} NAME)
  file(MAKE_DIRECTORY ${output})
  set(compile ${CMAKE_COMMAND} -E env WIDL_TIME_OVERRIDE=0 ${TVN_WIDL} --win64 -I ${TVN_IDL_INCLUDE}
              -L ${TVN_TLB_FOLDER})
  add_custom_command(
    OUTPUT ${output}/${name}.tlb ${output}/${name}.h ${output}/${name}_i.c
    COMMAND ${compile} -t -o ${output}/${name}.tlb ${file}
    COMMAND ${compile} -h -o ${output}/${name}.h ${file}
    COMMAND ${compile} -u -o ${output}/${name}_i.c ${file}
    DEPENDS ${source}
    WORKING_DIRECTORY ${folder}
    VERBATIM)
endfunction()
