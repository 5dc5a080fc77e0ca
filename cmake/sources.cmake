# A file's name says where it is compiled. Windows files are those in src/win/ and those called
# *_win.cpp (or *_win.test.cpp); *_native.cpp is for the builds on other systems; all others are for
# both.

# vorda_sources(<result> <folder> [<pattern>]): the files below <folder> that belong to this build.
function(vorda_sources result folder)
  set(pattern "*.cpp")
  if(ARGC GREATER 2)
    set(pattern "${ARGV2}")
  endif()
  file(GLOB_RECURSE found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/${pattern})
  if(WIN32)
    list(FILTER found EXCLUDE REGEX "_native(\\.test)?\\.cpp$")
  else()
    list(FILTER found EXCLUDE REGEX "_win(\\.test)?\\.cpp$")
    list(FILTER found EXCLUDE REGEX "/src/win/")
  endif()
  set(${result} ${found} PARENT_SCOPE)
endfunction()
