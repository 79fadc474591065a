# Script run by the brell_installed_package test.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}")
  endif()
endfunction()

# The same for a program that, showing the library's trace lines only when
# asked for them, must also write nothing to standard error.
function(run_quietly)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result ERROR_VARIABLE errors)
  if(NOT result EQUAL 0 OR NOT errors STREQUAL "")
    message(FATAL_ERROR "failed (${result}) or wrote to standard error: ${ARGN}\n${errors}")
  endif()
endfunction()

file(REMOVE_RECURSE ${PREFIX} ${CONSUMER_BUILD} ${CONSUMER_BUILD}-unknown ${EXAMPLES_BUILD})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX})

# find_package(BrellData)
run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE} -B ${CONSUMER_BUILD} -DCMAKE_PREFIX_PATH=${PREFIX}
    -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${CONSUMER_BUILD})
run(${CONSUMER_BUILD}/consumer)
run(${CONSUMER_BUILD}/gl_consumer)

# A component the package lacks fails the search, named.
execute_process(COMMAND ${CMAKE_COMMAND} -S ${UNKNOWN_COMPONENT_SOURCE} -B ${CONSUMER_BUILD}-unknown
    -DCMAKE_PREFIX_PATH=${PREFIX} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(result EQUAL 0 OR NOT output MATCHES "no component unknown")
  message(FATAL_ERROR "find_package(BrellData COMPONENTS unknown) did not fail naming the component:\n${output}")
endif()

# The examples, built and run as a host would.
run(${CMAKE_COMMAND} -S ${EXAMPLES_SOURCE} -B ${EXAMPLES_BUILD} -DCMAKE_PREFIX_PATH=${PREFIX}
    -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${EXAMPLES_BUILD})
foreach(example IN ITEMS stream_scene own_draw own_geometry)
  run(${EXAMPLES_BUILD}/${example})
endforeach()
run(${EXAMPLES_BUILD}/camera_files ${EXAMPLES_BUILD}/shot.cam)
file(WRITE ${EXAMPLES_BUILD}/points.xyz "0 0 0\n1 0 0\n0 1 0\n")
run_quietly(${EXAMPLES_BUILD}/render_scan ${EXAMPLES_BUILD}/points.xyz ${EXAMPLES_BUILD}/points.png)

# The installed tool finds its libraries.
run_quietly(${PREFIX}/bin/brell info ${EXAMPLES_BUILD}/points.xyz)

# The installed Python module finds its libraries.
if(DEFINED PYTHON)
  set(ENV{PYTHONPATH} ${PREFIX}/${PYTHON_DIR})
  run_quietly(${PYTHON} -c "import brelldata; assert brelldata.import_scan('${EXAMPLES_BUILD}/points.xyz')")
  unset(ENV{PYTHONPATH})
endif()

# pkg-config
set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)
foreach(consumer IN ITEMS consumer:brelldata-io gl_consumer:brelldata-gl)
  string(REPLACE ":" ";" parts ${consumer})
  list(GET parts 0 program)
  list(GET parts 1 package)
  execute_process(COMMAND pkg-config --cflags --libs ${package} OUTPUT_VARIABLE flags RESULT_VARIABLE result
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "pkg-config does not know ${package}")
  endif()
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${CXX} ${CONSUMER_SOURCE}/${program}.cpp ${flags} -Wl,-rpath,${PREFIX}/${LIBDIR} -o ${CONSUMER_BUILD}/${program}-pkg)
  run(${CONSUMER_BUILD}/${program}-pkg)
endforeach()
