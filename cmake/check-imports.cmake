# cmake -DOBJDUMP=… -DFILE=vorda.exe -DSUBSYSTEM=gui|console -P check-imports.cmake
# vorda.exe is one file, and often starts from a folder that others can write to: it may import only
# from libraries that every Windows 10 loads from the system's folder, whatever lies beside the
# program (the registry lists them under "KnownDLLs").
cmake_minimum_required(VERSION 3.25)

set(allowed
  advapi32 comdlg32 gdi32 kernel32 msvcrt ntdll ole32 oleaut32 psapi rpcrt4 setupapi shell32 shlwapi
  user32 ws2_32)
if(DEFINED ENV{VORDA_ALLOWED_DLLS})
  set(allowed $ENV{VORDA_ALLOWED_DLLS})
endif()

execute_process(COMMAND ${OBJDUMP} -p ${FILE} OUTPUT_VARIABLE dump COMMAND_ERROR_IS_FATAL ANY)
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
