# Fails when the schema version that docs/hive-format.md states differs from the one the store
# writes (SchemaVersion in platform/registry/Schema.h). Run as:
#   cmake -DSCHEMA_HEADER=... -DFORMAT_PAGE=... -P CheckSchemaVersion.cmake
file(READ "${SCHEMA_HEADER}" header)
string(REGEX MATCH "constexpr int SchemaVersion = ([0-9]+);" found "${header}")
if(NOT found)
  message(FATAL_ERROR "no SchemaVersion in ${SCHEMA_HEADER}")
endif()
set(code_version "${CMAKE_MATCH_1}")
file(READ "${FORMAT_PAGE}" page)
string(REGEX MATCH "Schema version: ([0-9]+)" found "${page}")
if(NOT found)
  message(FATAL_ERROR "no line \"Schema version: N\" in ${FORMAT_PAGE}")
endif()
if(NOT CMAKE_MATCH_1 STREQUAL code_version)
  message(FATAL_ERROR "${FORMAT_PAGE} says schema version ${CMAKE_MATCH_1}; the store writes ${code_version}")
endif()
message(STATUS "schema version ${code_version} in both")
