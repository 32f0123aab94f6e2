# header_only(PACKAGE TARGET FOLDER [DEFINITION...]): gives `target` the headers in FOLDER of this system's include folder, by a
# link in the build tree: the folder as a whole would bring this system's C library in.
function(header_only package target folder)
  find_path(${package}_INCLUDE_DIR "${folder}" PATHS /usr/include /usr/local/include NO_DEFAULT_PATH
            NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  set(links "${CMAKE_BINARY_DIR}/header-only")
  file(MAKE_DIRECTORY "${links}")
  file(CREATE_LINK "${${package}_INCLUDE_DIR}/${folder}" "${links}/${folder}" SYMBOLIC)
  if(NOT TARGET ${target})
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} SYSTEM INTERFACE "${links}")
    target_compile_definitions(${target} INTERFACE ${ARGN})
  endif()
  set(${package}_FOUND TRUE PARENT_SCOPE)
endfunction()
