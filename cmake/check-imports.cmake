# cmake -DOBJDUMP=… -DFILE=vorda.exe -DSUBSYSTEM=gui|console -P check-imports.cmake
# vorda.exe is one file, and often starts from a folder that others can write to: it may import only
# from libraries that every Windows 10 loads from the system's folder, whatever lies beside the
# program (the registry lists them under "KnownDLLs"). And it may import only functions that the oldest
# supported Windows exports, which windows-10-1809.txt lists, or the file that VORDA_KNOWN_EXPORTS names.
cmake_minimum_required(VERSION 3.25)

set(allowed
  advapi32 comdlg32 gdi32 kernel32 msvcrt ntdll ole32 oleaut32 psapi rpcrt4 setupapi shell32 shlwapi
  user32 ws2_32)
if(DEFINED ENV{VORDA_ALLOWED_DLLS})
  set(allowed $ENV{VORDA_ALLOWED_DLLS})
endif()

execute_process(COMMAND ${OBJDUMP} -p ${FILE} OUTPUT_VARIABLE dump COMMAND_ERROR_IS_FATAL ANY)
set(dump_as_is "${dump}")
string(TOLOWER "${dump}" dump)
string(REGEX MATCHALL "dll name: [^\r\n]+" lines "${dump}")
if(NOT lines)
  message(FATAL_ERROR "no imports found in ${FILE}: is it a Windows program?")
endif()

set(foreign "")
foreach(line IN LISTS lines)
  string(REGEX REPLACE "dll name: (.*[^ ]) *$" "\\1" dll "${line}")
  string(REGEX REPLACE "\\.dll$" "" name "${dll}")
  if(NOT name IN_LIST allowed)
    list(APPEND foreign ${dll})
  endif()
endforeach()
if(foreign)
  list(JOIN foreign ", " foreign)
  message(FATAL_ERROR "imports that could be planted beside the program: ${foreign}")
endif()
if(SUBSYSTEM STREQUAL "gui" AND NOT dump MATCHES "subsystem[ \t]+0*2[ \t]+\\(windows gui\\)")
  message(FATAL_ERROR "not a program for the Windows GUI subsystem: a console would flash up")
endif()
if(SUBSYSTEM STREQUAL "console" AND NOT dump MATCHES "subsystem[ \t]+0*3[ \t]+\\(windows cui\\)")
  message(FATAL_ERROR "not a console program: a command prompt would not wait for it")
endif()

# ---- functions -----------------------------------------------------------------------------------
set(known_file ${CMAKE_CURRENT_LIST_DIR}/windows-10-1809.txt)
if(DEFINED ENV{VORDA_KNOWN_EXPORTS})
  set(known_file $ENV{VORDA_KNOWN_EXPORTS})
endif()
file(STRINGS ${known_file} known REGEX "^[a-z]")

set(imported "")
set(library "")
string(REGEX MATCHALL "DLL Name: [^\r\n]+|\n\t[0-9a-f]+\t +[0-9]+  [^ \r\n]+" lines "${dump_as_is}")
foreach(line IN LISTS lines)
  if(line MATCHES "^DLL Name: ([^. ]+)")
    string(TOLOWER "${CMAKE_MATCH_1}" library)
  elseif(line MATCHES "  ([^ ]+)$")
    list(APPEND imported "${library} ${CMAKE_MATCH_1}")
  endif()
endforeach()
# Those that are loaded when they are first needed.
file(GLOB definitions ${CMAKE_CURRENT_LIST_DIR}/delayed/*.def)
foreach(definition IN LISTS definitions)
  get_filename_component(library ${definition} NAME_WE)
  file(STRINGS ${definition} names REGEX "^[A-Z][A-Za-z0-9]+$")
  list(REMOVE_ITEM names EXPORTS)
  list(TRANSFORM names PREPEND "${library} ")
  list(APPEND imported ${names})
endforeach()

list(LENGTH imported count)
if(count LESS 100)
  message(FATAL_ERROR "only ${count} imported functions found in ${FILE}: has objdump's output changed?")
endif()
list(REMOVE_ITEM imported ${known})
if(imported)
  list(JOIN imported ", " imported)
  message(FATAL_ERROR "imports that Windows 10 1809 may not have, see windows-10-1809.txt: ${imported}")
endif()
message(STATUS "${count} imported functions, all of them known")
