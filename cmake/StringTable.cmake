# Checks resources/strings.tsv and writes it as a C++ source:
#
#   cmake -D TABLE=resources/strings.tsv -D OUTPUT=StringTable.cpp -P cmake/StringTable.cmake
#
# Every fault is reported with file, line and number; with one fault there is no output. Blank lines and lines that begin with # are comments.
# Only the shape is checked here: what the texts of a row have in common is a matter of the tests.

cmake_minimum_required(VERSION 3.25)

set(firstNumber 10000)
set(lastNumber 10338)
set(rowsWanted 327)
set(columns number English Danish Dutch)

file(RELATIVE_PATH tableName ${CMAKE_CURRENT_LIST_DIR}/.. ${TABLE})
set(faults 0)
function(report place text)
  message(NOTICE "${tableName}${place}: ${text}")
  math(EXPR faults "${faults} + 1")
  set(faults ${faults} PARENT_SCOPE)
endfunction()

# CMake reads ; [ ] and \ in lists: while the texts stand in one, characters that no text has stand for them.
foreach(code RANGE 1 4)
  string(ASCII ${code} mark${code})
endforeach()
function(put_away variable)
  set(text "${${variable}}")
  string(REPLACE ";" ${mark1} text "${text}")
  string(REPLACE "[" ${mark2} text "${text}")
  string(REPLACE "]" ${mark3} text "${text}")
  string(REPLACE "\\" ${mark4} text "${text}")
  set(${variable} "${text}" PARENT_SCOPE)
endfunction()
function(write_literal variable text)
  string(REPLACE "\"" "\\\"" text "${text}")
  string(REPLACE ${mark1} ";" text "${text}")
  string(REPLACE ${mark2} "[" text "${text}")
  string(REPLACE ${mark3} "]" text "${text}")
  string(REPLACE ${mark4} "\\\\" text "${text}")
  set(${variable} "u\"${text}\"" PARENT_SCOPE)
endfunction()

file(READ ${TABLE} content)
string(ASCII 239 187 191 byteOrderMark)
string(REGEX REPLACE "^${byteOrderMark}" "" content "${content}")
string(REGEX REPLACE "\r\n?" "\n" content "${content}")
put_away(content)
string(REPLACE "\n" ";" lines "${content}")

set(output "")
set(rows 0)
set(lineNumber 0)
set(previous 0)
foreach(line IN LISTS lines)
  math(EXPR lineNumber "${lineNumber} + 1")
  string(REPLACE "\t" ";" cells "${line}")
  if(line STREQUAL "" OR line MATCHES "^#" OR (lineNumber EQUAL 1 AND cells STREQUAL columns))
    continue()
  endif()
  math(EXPR rows "${rows} + 1")

  list(GET cells 0 number)
  if(NOT number MATCHES "^[1-9][0-9][0-9][0-9][0-9]$" OR number LESS firstNumber OR number GREATER lastNumber)
    report(:${lineNumber} "\"${number}\" is no number from ${firstNumber} to ${lastNumber}")
    continue()
  endif()
  if(NOT number GREATER previous)
    report(:${lineNumber} "${number} is not greater than ${previous} above it")
  endif()
  set(previous ${number})

  list(LENGTH cells cellCount)
  if(NOT cellCount EQUAL 4)
    report(:${lineNumber} "${number}: four columns are wanted, there are ${cellCount}")
    continue()
  endif()
  foreach(column RANGE 1 3)
    list(GET cells ${column} text)
    if(text STREQUAL "")
      list(GET columns ${column} language)
      report(:${lineNumber} "${number}: the ${language} text is empty")
    endif()
    write_literal(literal${column} "${text}")
  endforeach()
  string(APPEND output "    {${number}, {${literal1}, ${literal2}, ${literal3}}},\n")
endforeach()

if(NOT rows EQUAL rowsWanted)
  report("" "${rowsWanted} rows are wanted, there are ${rows}")
endif()
if(faults)
  message(FATAL_ERROR "${tableName} has faults: ${faults}")
endif()

file(WRITE ${OUTPUT} "// Written by cmake/StringTable.cmake from ${tableName}.

#include \"general/ResourceStrings.h\"

namespace vmlib {
namespace {

constexpr ResourceEntry entries[] = {
${output}};

}  // namespace

std::span<const ResourceEntry> ResourceEntries()
{
    return entries;
}

}  // namespace vmlib
")
