# cmake -P script: configure a host that adds the engine as a subdirectory,
# build it and run it.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} -S ${HOST_SOURCE} -B ${WORK_DIR} -DKORVAN_SOURCE_DIR=${SOURCE_DIR}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build ${WORK_DIR} -j2)
run(${WORK_DIR}/korvan-host)
if(NOT last_output MATCHES "host: body fell")
  message(FATAL_ERROR "unexpected host output: ${last_output}")
endif()
