# What every target of this project is built with, and how the module's export list reaches the linker.

function(localdisk_target target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
                                           -Wold-style-cast -Wcast-align -Wformat=2 -Wundef
                                           # g++ 12 sees overlaps in the standard library's own strings
                                           $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  if(LOCALDISK_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# Gives `target` exactly the exports that `list` names. A visibility attribute alone would let the standard library's
# template instances out as well, where a host built with other options could replace them under the module's feet.
# A line of the list is a plain name, or "c++ NAME" for every overload of a function of the global namespace.
function(localdisk_export_list target list)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${list}")
  file(STRINGS "${list}" lines REGEX "^[^#]")
  set(symbols "")
  foreach(line IN LISTS lines)
    if(line MATCHES "^c\\+\\+ (.+)$")
      string(LENGTH "${CMAKE_MATCH_1}" length)
      list(APPEND symbols "_Z${length}${CMAKE_MATCH_1}*")
    else()
      list(APPEND symbols "${line}")
    endif()
  endforeach()
  if(APPLE)
    list(TRANSFORM symbols PREPEND "_")
    list(JOIN symbols "\n" text)
    set(script "${PROJECT_BINARY_DIR}/${target}.exports")
    file(CONFIGURE OUTPUT "${script}" CONTENT "${text}\n" @ONLY)
    target_link_options(${target} PRIVATE "LINKER:-exported_symbols_list,${script}")
  else()
    list(JOIN symbols ";\n    " text)
    set(script "${PROJECT_BINARY_DIR}/${target}.map")
    file(CONFIGURE OUTPUT "${script}" CONTENT "{\n  global:\n    ${text};\n  local: *;\n};\n" @ONLY)
    # The exported names are generic, and the host or another library of its process may define the same ones: each
    # reference of the module to its functions, data, tables and type information stays inside it.
    target_link_options(${target} PRIVATE "LINKER:--version-script=${script}" "LINKER:-Bsymbolic")
    if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")  # a sanitizer's functions come from the program
      target_link_options(${target} PRIVATE "LINKER:--no-undefined")
    endif()
  endif()
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${script}")
endfunction()
