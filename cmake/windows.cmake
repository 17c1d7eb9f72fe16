# Windows (MinGW-w64): api_cpp.dll exports what libapi_cpp.so exports, from
# the same map, and also carries cJSON for its callers (cJSON is linked in
# statically, so the DLL needs only system DLLs). Beside it: the MinGW import
# library libapi_cpp.dll.a and api_cpp.lib for Microsoft's linker.

# The platform layer's system libraries, and SuiteSparse's config library,
# which the static AMD and LDL need.
find_library(SUITESPARSE_CONFIG_LIBRARY suitesparseconfig REQUIRED)
set(ZQ_WINDOWS_LIBS ${SUITESPARSE_CONFIG_LIBRARY} ws2_32 winmm)
target_link_libraries(api_cpp PRIVATE ${ZQ_WINDOWS_LIBS})
target_link_libraries(api_cpp_internal PUBLIC ${ZQ_WINDOWS_LIBS})
if(TARGET zq_sim_core)
  target_link_libraries(zq_sim_core PUBLIC ws2_32 winmm)
endif()

# The library's own sources export the public functions; its callers import them.
target_compile_definitions(api_cpp_objects PUBLIC ZQ_EXPORTS)
target_compile_definitions(api_cpp_internal INTERFACE ZQ_EXPORTS)

# The module definition, written from cmake/api_cpp.map and the symbols of the
# library's objects (the static api_cpp_internal holds the same objects).
get_target_property(ZQ_CJSON_ARCHIVE cjson IMPORTED_LOCATION_RELEASE)
if(NOT ZQ_CJSON_ARCHIVE)
  get_target_property(ZQ_CJSON_ARCHIVE cjson LOCATION)
endif()
find_program(ZQ_CXXFILT NAMES ${ZQ_MINGW_TRIPLE}-c++filt c++filt REQUIRED)
set(ZQ_DEF ${PROJECT_BINARY_DIR}/api_cpp.def)
add_custom_command(OUTPUT ${ZQ_DEF}
  COMMAND ${CMAKE_COMMAND} -DMAP=${PROJECT_SOURCE_DIR}/cmake/api_cpp.map
          -DARCHIVE=$<TARGET_FILE:api_cpp_internal> -DCJSON_ARCHIVE=${ZQ_CJSON_ARCHIVE}
          -DNM=${CMAKE_NM} -DCXXFILT=${ZQ_CXXFILT} -DDLL=api_cpp.dll -DOUT=${ZQ_DEF}
          -P ${PROJECT_SOURCE_DIR}/cmake/def_from_map.cmake
  DEPENDS api_cpp_internal ${PROJECT_SOURCE_DIR}/cmake/api_cpp.map ${PROJECT_SOURCE_DIR}/cmake/def_from_map.cmake
  COMMENT "Writing api_cpp.def from the export map")
add_custom_target(api_cpp_def DEPENDS ${ZQ_DEF})
add_dependencies(api_cpp api_cpp_def)
target_link_options(api_cpp PRIVATE ${ZQ_DEF})
set_target_properties(api_cpp PROPERTIES PREFIX "" IMPORT_PREFIX "lib" LINK_DEPENDS ${ZQ_DEF})

# api_cpp.lib, the import library in the form Microsoft's linker reads.
set(ZQ_MSVC_IMPLIB ${PROJECT_BINARY_DIR}/api_cpp.lib)
add_custom_command(TARGET api_cpp POST_BUILD
  COMMAND ${CMAKE_DLLTOOL} --input-def ${ZQ_DEF} --dllname api_cpp.dll --output-lib ${ZQ_MSVC_IMPLIB}
  COMMENT "Writing api_cpp.lib")

if(ZQ_INSTALL)
  install(FILES ${ZQ_MSVC_IMPLIB} DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
  # cJSON's header: its functions come from api_cpp.dll.
  install(FILES ${CJSON_INCLUDE_DIR}/cjson/cJSON.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/cjson COMPONENT dev)
endif()

# The wire benchmarks alone (query round trip, streaming rate), for figures
# under Wine next to Linux (bench/wine_wire.py); the other benchmarks need
# peers that are not built for Windows.
option(ZQ_BUILD_WIRE_BENCH "Build bench_session and bench_motion for Windows" OFF)
if(ZQ_BUILD_WIRE_BENCH AND TARGET zq_sim_core)
  find_package(benchmark REQUIRED)
  foreach(name session motion)
    add_executable(bench_${name} ${PROJECT_SOURCE_DIR}/bench/bench_${name}.cpp)
    target_include_directories(bench_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(bench_${name} PRIVATE api_cpp_internal zq_sim_core benchmark::benchmark)
  endforeach()
endif()
