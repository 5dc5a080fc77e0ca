# Together the bench/*.cpp are one native program, which uses Google Benchmark; the preset native-release
# turns it on. Each bench/*_win.cpp is a console program of its own, part of every Windows build.
option(VORDA_BENCHMARKS "Build the native benchmarks" OFF)

file(GLOB bench_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/bench/*.cpp)
if(WIN32)
  list(FILTER bench_sources INCLUDE REGEX "_win\\.cpp$")
  foreach(source IN LISTS bench_sources)
    get_filename_component(name ${source} NAME_WE)
    add_executable(bench_${name} ${source})
    target_link_libraries(bench_${name} PRIVATE vorda_core)
    target_link_options(bench_${name} PRIVATE -municode)
    set_target_properties(bench_${name} PROPERTIES
      RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bench)
  endforeach()
elseif(VORDA_BENCHMARKS)
  list(FILTER bench_sources EXCLUDE REGEX "_win\\.cpp$")
  if(bench_sources)
    find_package(benchmark REQUIRED)
    add_executable(vorda_bench ${bench_sources})
    target_link_libraries(vorda_bench PRIVATE vorda_core benchmark::benchmark_main)
  endif()
endif()
