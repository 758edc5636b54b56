cmake_minimum_required(VERSION 3.16)
# cmake -P script: writes every ```cpp block of the README to its own file and
# builds it against the library. A block with a main() is a whole program: it
# is linked and run. Any other block is a fragment of host code: it is compiled
# as the body of a function, with the umbrella header and the namespace in use.
include(${CMAKE_CURRENT_LIST_DIR}/../install/RunCommand.cmake)

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
file(READ ${README} text)
get_filename_component(libdir ${LIBRARY} DIRECTORY)

# Walked with string(FIND): code is full of semicolons, which CMake lists split on.
set(count 0)
set(programs 0)
while(TRUE)
  string(FIND "${text}" "```cpp\n" start)
  if(start EQUAL -1)
    break()
  endif()
  math(EXPR start "${start} + 7")
  string(SUBSTRING "${text}" ${start} -1 text)
  string(FIND "${text}" "\n```" end)
  if(end EQUAL -1)
    message(FATAL_ERROR "unterminated code block in the README")
  endif()
  math(EXPR end "${end} + 1")
  string(SUBSTRING "${text}" 0 ${end} code)
  string(SUBSTRING "${text}" ${end} -1 text)
  math(EXPR count "${count} + 1")
  set(name readme_block_${count})
  if(code MATCHES "int main\\(")
    file(WRITE ${WORK_DIR}/${name}.cpp "${code}")
    run(${CXX_COMPILER} -std=c++17 -Wall -Werror -I${SOURCE_DIR} ${WORK_DIR}/${name}.cpp
        ${LIBRARY} -Wl,-rpath,${libdir} -o ${WORK_DIR}/${name})
    run(${WORK_DIR}/${name})
    message(STATUS "${name}: ${last_output}")
    math(EXPR programs "${programs} + 1")
  else()
    file(WRITE ${WORK_DIR}/${name}.cpp
         "#include <KorvanPhysics2D/KorvanPhysics2D.h>\n"
         "using namespace KorvanPHX2D;\n"
         "void readmeFragment() {\n${code}}\n")
    run(${CXX_COMPILER} -std=c++17 -Wall -Werror -Wno-unused -I${SOURCE_DIR} -c
        ${WORK_DIR}/${name}.cpp -o ${WORK_DIR}/${name}.o)
  endif()
endwhile()

# The README shows the example program and at least one fragment.
if(programs LESS 1 OR count LESS 2)
  message(FATAL_ERROR "expected a program and a fragment in the README, found ${count} blocks")
endif()
