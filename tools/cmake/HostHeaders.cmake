# Header-only libraries serve any target. Each is found where its package puts it and is linked into
# a folder of its own, so that no other header of the build machine comes onto the cross compiler's
# include path.
#
#     tvn_link_headers(boost boost/shared_ptr.hpp)
#
# makes ${TVN_INCLUDE}/boost. `probe` is a header of that folder; its package is to be installed.
function(tvn_link_headers folder probe)
  find_path(
    TVN_HOST_${folder} ${probe}
    PATHS /usr/include /usr/local/include
    NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  file(MAKE_DIRECTORY ${TVN_INCLUDE})
  file(CREATE_LINK ${TVN_HOST_${folder}}/${folder} ${TVN_INCLUDE}/${folder} SYMBOLIC)
endfunction()
