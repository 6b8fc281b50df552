file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix}
  RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "install failed: ${rc}")
endif()
foreach(f include/qel/QelCommon.h include/qel/framework/QelSysApp.h lib/cmake/QelCommon/QelCommonConfig.cmake
          lib/cmake/QelCommon/QelCommonConfigVersion.cmake lib/pkgconfig/qelcommon.pc)
  if(NOT EXISTS ${prefix}/${f})
    message(FATAL_ERROR "missing after install: ${f}")
  endif()
endforeach()

execute_process(COMMAND ${CMAKE_COMMAND} -S ${HOST_DIR} -B ${WORK_DIR}/host -G ${GENERATOR}
  -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_EXE_LINKER_FLAGS=${HOST_LINK_FLAGS}"
  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "configuring the host failed:\n${out}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/host RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "building the host failed:\n${out}")
endif()
execute_process(COMMAND ${WORK_DIR}/host/qel-tiny-host RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(NOT rc EQUAL 0 OR NOT out MATCHES "tiny host ok")
  message(FATAL_ERROR "the host did not run: ${rc}\n${out}")
endif()

# The pkg-config file gives the same library.
set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig)
execute_process(COMMAND pkg-config --cflags --libs qelcommon RESULT_VARIABLE rc OUTPUT_VARIABLE flags
  OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT rc EQUAL 0 OR NOT flags MATCHES "-lqelcommon")
  message(FATAL_ERROR "pkg-config does not know qelcommon: ${flags}")
endif()
message(STATUS "installed package builds and runs a host")
