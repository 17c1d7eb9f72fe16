# `docs`: the API reference of the public headers, as HTML in <build>/docs/html, with the user
# guides. Needs Debian's doxygen; an undocumented public declaration fails the build.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  add_custom_target(docs COMMAND ${CMAKE_COMMAND} -E echo "docs: doxygen is not installed" COMMAND false)
  return()
endif()
set(DOXYGEN_PROJECT_NAME api_cpp)
set(DOXYGEN_PROJECT_NUMBER ${PROJECT_VERSION})
set(DOXYGEN_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/docs)
set(DOXYGEN_OPTIMIZE_OUTPUT_FOR_C YES)
set(DOXYGEN_EXTRACT_ALL NO)
set(DOXYGEN_WARN_IF_UNDOCUMENTED YES)
set(DOXYGEN_WARN_NO_PARAMDOC NO)
set(DOXYGEN_WARN_AS_ERROR YES)
set(DOXYGEN_ENABLE_PREPROCESSING YES)
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_PREDEFINED "ZQ_API=")
set(DOXYGEN_GENERATE_LATEX NO)
set(DOXYGEN_HAVE_DOT NO)
set(DOXYGEN_USE_MDFILE_AS_MAINPAGE ${PROJECT_SOURCE_DIR}/docs/guide/README.md)
# Every public header, the service class's too: each carries a file comment and its functions
# their groups, so that the reference lists the whole interface (scripts/check_reference.py).
file(GLOB ZQ_DOC_HEADERS ${PROJECT_SOURCE_DIR}/include/zq_*.h)
file(GLOB ZQ_DOC_GUIDES ${PROJECT_SOURCE_DIR}/docs/guide/*.md)
doxygen_add_docs(docs ${ZQ_DOC_HEADERS} ${ZQ_DOC_GUIDES} ${PROJECT_SOURCE_DIR}/sim/zq_sim.h
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} COMMENT "API reference")
