# cmake -P script: install to one prefix, move the installed tree elsewhere
# (neither place is the configure-time prefix), then build and run a host from
# the moved tree twice: with find_package and with pkg-config's flags.
include(${CMAKE_CURRENT_LIST_DIR}/RunCommand.cmake)

file(REMOVE_RECURSE ${WORK_DIR})
set(staging ${WORK_DIR}/staging)
set(prefix ${WORK_DIR}/moved/prefix)
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${staging})
file(MAKE_DIRECTORY ${WORK_DIR}/moved)
file(RENAME ${staging} ${prefix})

# find_package: the package's files locate each other relative to themselves.
run(${CMAKE_COMMAND} -S ${HOST_SOURCE} -B ${WORK_DIR}/host-build
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/host-build)
run(${WORK_DIR}/host-build/korvan-host)
if(NOT last_output MATCHES "host: body fell")
  message(FATAL_ERROR "unexpected host output: ${last_output}")
endif()

# The shared library carries a versioned soname.
file(GLOB sonames ${prefix}/lib*/libKorvanPhysics2D.so.* ${prefix}/lib*/*/libKorvanPhysics2D.so.*)
if(NOT sonames)
  message(FATAL_ERROR "no versioned libKorvanPhysics2D.so.* installed")
endif()

# pkg-config: the flags it gives compile, link and run the same host.
file(GLOB pcfile ${prefix}/lib*/pkgconfig/korvanphysics2d.pc
     ${prefix}/lib*/*/pkgconfig/korvanphysics2d.pc)
if(NOT pcfile)
  message(FATAL_ERROR "korvanphysics2d.pc not installed")
endif()
find_program(PKG_CONFIG pkg-config REQUIRED)
get_filename_component(pcdir ${pcfile} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pcdir})
run(${PKG_CONFIG} --cflags --libs korvanphysics2d)
string(STRIP "${last_output}" flags)
if(NOT flags MATCHES "-lKorvanPhysics2D" OR NOT flags MATCHES "${WORK_DIR}/moved/prefix")
  message(FATAL_ERROR "pkg-config does not point into the moved tree: ${flags}")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${PKG_CONFIG} --variable=libdir korvanphysics2d)
string(STRIP "${last_output}" libdir)
run(${CXX_COMPILER} ${HOST_SOURCE}/main.cpp ${flags} -Wl,-rpath,${libdir}
    -o ${WORK_DIR}/korvan-host-pkgconfig)
run(${WORK_DIR}/korvan-host-pkgconfig)
if(NOT last_output MATCHES "host: body fell")
  message(FATAL_ERROR "unexpected output of the pkg-config host: ${last_output}")
endif()

# The valgrind suppressions hosts are pointed to in the README.
if(NOT EXISTS ${prefix}/share/KorvanPhysics2D/korvanphysics2d.supp)
  message(FATAL_ERROR "share/KorvanPhysics2D/korvanphysics2d.supp not installed")
endif()
