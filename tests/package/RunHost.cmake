# The installed-package test (cmake -P): installs this build into a prefix
# inside the build tree, configures and builds tests/package/host against it
# as a separate project, and runs the host program under Wine.
# In: BUILD_DIR, SOURCE_DIR, TOOLCHAIN, WINE_RUN, WINE_PREFIX, VERSION.
set(work ${BUILD_DIR}/package-test)
file(REMOVE_RECURSE ${work}/prefix ${work}/host)

function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${what} failed (${rc}):\n${out}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(install ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${work}/prefix)
# Only public headers are installed.
file(GLOB_RECURSE leaked RELATIVE ${work}/prefix/include
     ${work}/prefix/include/*/internal/* ${work}/prefix/include/*_impl.h)
if(leaked)
  message(FATAL_ERROR "private headers installed: ${leaked}")
endif()
# The installed zortool reports both DLLs' version resources.
run(zortool ${WINE_RUN} --prefix ${WINE_PREFIX} ${work}/prefix/bin/zortool.exe version)
if(NOT last_output MATCHES "zorutils.dll ${VERSION}.0\r?\nzorfutls.dll ${VERSION}.0")
  message(FATAL_ERROR "zortool version printed:\n${last_output}")
endif()
run(configure ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/package/host -B ${work}/host -G Ninja
    -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_PREFIX_PATH=${work}/prefix)
run(build ${CMAKE_COMMAND} --build ${work}/host)
run(run ${WINE_RUN} --prefix ${WINE_PREFIX} ${work}/host/zorhost.exe)
message("${last_output}")
if(NOT last_output MATCHES "host: all passed")
  message(FATAL_ERROR "the host program did not pass")
endif()
