# The maker's addresses. A real release sets them; the defaults use a top-level domain that is
# reserved for examples.
set(VORDA_WEB_SITE "https://www.brixmoor.example/" CACHE STRING "The maker's web site")
set(VORDA_DOWNLOAD_PAGE "https://www.brixmoor.example/vorda/download" CACHE STRING
  "Where a newer version is offered to people")
set(VORDA_UPDATE_HOST "updates.brixmoor.example" CACHE STRING
  "The host asked about newer versions: a host name only")

foreach(name VORDA_WEB_SITE VORDA_DOWNLOAD_PAGE VORDA_UPDATE_HOST)
  # The values go between quotes into C++ source.
  if("${${name}}" MATCHES "[\"'\\\\\r\n]" OR "${${name}}" STREQUAL "")
    message(FATAL_ERROR "${name} must be set and hold no quote, backslash or line break")
  endif()
endforeach()
foreach(name VORDA_WEB_SITE VORDA_DOWNLOAD_PAGE)
  if(NOT "${${name}}" MATCHES "^https://")
    message(FATAL_ERROR "${name} must begin with https://")
  endif()
endforeach()
if(VORDA_UPDATE_HOST MATCHES "[/: ]")
  message(FATAL_ERROR "VORDA_UPDATE_HOST is a host name only, without scheme, port or path")
endif()

configure_file(${PROJECT_SOURCE_DIR}/src/app/maker.h.in ${PROJECT_BINARY_DIR}/generated/maker.h @ONLY)
