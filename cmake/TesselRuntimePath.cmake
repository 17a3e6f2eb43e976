# Installed programs find the installed libraries wherever the tree is installed (cmake --install
# --prefix chooses the place after configuring): the runtime path is relative to the binary.
# The build tree keeps CMake's absolute build paths. Windows finds DLLs beside the program.

if(APPLE)
  set(TESSEL_ORIGIN "@loader_path")
else()
  set(TESSEL_ORIGIN "$ORIGIN")
endif()

# Programs: from their folder to the libraries' folder, e.g. "$ORIGIN/../lib".
if(NOT WIN32)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_BINDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(CMAKE_INSTALL_RPATH "${CMAKE_INSTALL_FULL_LIBDIR}")
  else()
    file(RELATIVE_PATH tessel_bin_to_lib "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
    set(CMAKE_INSTALL_RPATH "${TESSEL_ORIGIN}/${tessel_bin_to_lib}")
  endif()
endif()

# tessel_use_library_runtime_path(targets...): shared libraries installed together find each
# other in their own folder. A program's runtime path does not serve the libraries it loads, so
# each library needs its own.
function(tessel_use_library_runtime_path)
  if(NOT WIN32)
    set_target_properties(${ARGN} PROPERTIES INSTALL_RPATH "${TESSEL_ORIGIN}")
  endif()
endfunction()
