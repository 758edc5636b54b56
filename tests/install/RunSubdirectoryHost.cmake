# cmake -P script: configure a host that adds the engine as a subdirectory,
# build it and run it.
include(${CMAKE_CURRENT_LIST_DIR}/RunCommand.cmake)

file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} -S ${HOST_SOURCE} -B ${WORK_DIR} -DKORVAN_SOURCE_DIR=${SOURCE_DIR}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build ${WORK_DIR} -j2)
run(${WORK_DIR}/korvan-host)
if(NOT last_output MATCHES "host: body fell")
  message(FATAL_ERROR "unexpected host output: ${last_output}")
endif()
