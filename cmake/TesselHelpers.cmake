# tessel_set_warnings(target): the project's warning set, PRIVATE to each target.
function(tessel_set_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 $<$<BOOL:${TESSEL_WERROR}>:/WX>)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
      -Wnon-virtual-dtor -Wold-style-cast -Wcast-align -Woverloaded-virtual
      -Wformat=2 -Wno-format-nonliteral
      $<$<BOOL:${TESSEL_WERROR}>:-Werror>)
    if(WIN32)
      # The system's COM interfaces declare no destructor; objects implementing them are released
      # through IUnknown::Release, never deleted through an interface pointer.
      target_compile_options(${target} PRIVATE -Wno-non-virtual-dtor)
    endif()
  endif()
endfunction()

# tessel_add_subdirectories(dirs...): the folders that exist so far.
function(tessel_add_subdirectories)
  foreach(dir ${ARGN})
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/CMakeLists.txt)
      add_subdirectory(${dir})
    endif()
  endforeach()
endfunction()
