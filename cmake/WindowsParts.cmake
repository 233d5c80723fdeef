# What the build for Windows has no Debian packages for, put where `scripts/setup --windows` leaves it: SQLite in its amalgamated form, and
# GoogleTest from the sources of libgtest-dev.
enable_language(C)
set(sqliteFolder ${PROJECT_SOURCE_DIR}/build/sqlite)
if(NOT EXISTS ${sqliteFolder}/sqlite3.c)
  message(FATAL_ERROR "${sqliteFolder}/sqlite3.c is missing: scripts/setup --windows fetches it")
endif()
add_library(sqlite3 STATIC ${sqliteFolder}/sqlite3.c)
target_include_directories(sqlite3 SYSTEM PUBLIC ${sqliteFolder})
# The query processor is given a virtual table a Jet table, and nothing else: no files, no extensions.
target_compile_definitions(sqlite3 PRIVATE SQLITE_THREADSAFE=1 SQLITE_OMIT_LOAD_EXTENSION SQLITE_ENABLE_MATH_FUNCTIONS)
target_compile_options(sqlite3 PRIVATE -O2 -w)
add_library(SQLite::SQLite3 ALIAS sqlite3)

if(VMLIB_TESTS)
  set(INSTALL_GTEST OFF)
  add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
endif()
