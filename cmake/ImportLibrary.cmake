# Makes what the import libraries and the import checker need from
# exports/torwen.def, whose lines read "_Name@N = Name@N":
#   GNU_DEF   for dlltool: "Name@N == _Name@N", so an application's reference to
#             Name@N is imported under the decorated name;
#   MSVC_DEF  for lld-link: "_Name@N", the symbol Microsoft's compilers reference
#             and the name the DLL exports, imported by that exact name;
#   NAMES_INC the decorated names as a list of C strings.
# The one C-call export (wsprintfW, whose caller pops a variable argument list)
# reads "Name = Name": each linker prefixes the underscore a C caller references
# and imports the plain name.
file(STRINGS "${DLL_DEF}" lines)
set(gnu "LIBRARY torwen.dll\nEXPORTS\n")
set(msvc "LIBRARY torwen.dll\nEXPORTS\n")
set(names "")
foreach(line IN LISTS lines)
  if(line MATCHES "^[ \t]*([_A-Za-z0-9@]+)[ \t]*=[ \t]*([_A-Za-z0-9@]+)")
    set(exported ${CMAKE_MATCH_1})
    set(made ${CMAKE_MATCH_2})
    if(exported MATCHES "@")
      string(APPEND gnu "    ${made} == ${exported}\n")
    else()
      string(APPEND gnu "    ${exported}\n")
    endif()
    string(APPEND msvc "    ${exported}\n")
    string(APPEND names "    \"${exported}\",\n")
  endif()
endforeach()
foreach(pair "GNU_DEF;gnu" "MSVC_DEF;msvc" "NAMES_INC;names")
  list(GET pair 0 path)
  list(GET pair 1 text)
  file(WRITE "${${path}}.new" "${${text}}")
  file(COPY_FILE "${${path}}.new" "${${path}}" ONLY_IF_DIFFERENT)
  file(REMOVE "${${path}}.new")
endforeach()
