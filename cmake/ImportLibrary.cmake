# Makes the import-library definition from exports/torwen.def: each line
# "_Name@N = Name@N" of the DLL's definition becomes "Name@N == _Name@N", so an
# application's reference to Name@N is imported under the decorated name.
file(STRINGS "${DLL_DEF}" lines)
set(out "LIBRARY torwen.dll\nEXPORTS\n")
foreach(line IN LISTS lines)
  if(line MATCHES "^[ \t]*([_A-Za-z0-9@]+)[ \t]*=[ \t]*([_A-Za-z0-9@]+)")
    string(APPEND out "    ${CMAKE_MATCH_2} == ${CMAKE_MATCH_1}\n")
  endif()
endforeach()
file(WRITE "${IMPORT_DEF}.new" "${out}")
file(COPY_FILE "${IMPORT_DEF}.new" "${IMPORT_DEF}" ONLY_IF_DIFFERENT)
