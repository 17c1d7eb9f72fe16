# The simulator as a tool for users: the version that zq_sim reports, and (unless installation
# is off) the zq_sim_core library with its public header zq_sim.h, exported as
# api_cpp::zq_sim_core so that users can start a simulated controller inside their own tests.
target_compile_definitions(zq_sim PRIVATE ZQ_SIM_VERSION="${PROJECT_VERSION}")
target_include_directories(zq_sim_core INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
if(DEFINED ZQ_INSTALL AND NOT ZQ_INSTALL)
  return()
endif()
install(TARGETS zq_sim_core zq_collision_core EXPORT api_cppTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
install(FILES ${PROJECT_SOURCE_DIR}/sim/zq_sim.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
