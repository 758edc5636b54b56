# cmake -P script: install, build a host against the package, run it.
include(${CMAKE_CURRENT_LIST_DIR}/RunCommand.cmake)

file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

run(${CMAKE_COMMAND} -S ${HOST_SOURCE} -B ${WORK_DIR}/host-build
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/host-build)
run(${WORK_DIR}/host-build/korvan-host)
if(NOT last_output MATCHES "host: body fell")
  message(FATAL_ERROR "unexpected host output: ${last_output}")
endif()

# The shared library carries a versioned soname.
file(GLOB sonames ${prefix}/lib*/libKorvanPhysics2D.so.*)
if(NOT sonames)
  message(FATAL_ERROR "no versioned libKorvanPhysics2D.so.* installed")
endif()

# pkg-config describes the same library.
file(GLOB pcfile ${prefix}/lib*/pkgconfig/korvanphysics2d.pc)
if(NOT pcfile)
  message(FATAL_ERROR "korvanphysics2d.pc not installed")
endif()
find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
  get_filename_component(pcdir ${pcfile} DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} ${pcdir})
  run(${PKG_CONFIG} --cflags --libs korvanphysics2d)
  if(NOT last_output MATCHES "-lKorvanPhysics2D")
    message(FATAL_ERROR "pkg-config output lacks the library: ${last_output}")
  endif()
endif()
