# Script run by the brell_installed_package test.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}")
  endif()
endfunction()

file(REMOVE_RECURSE ${PREFIX} ${CONSUMER_BUILD})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX})

# find_package(BrellData)
run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE} -B ${CONSUMER_BUILD} -DCMAKE_PREFIX_PATH=${PREFIX}
    -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${CONSUMER_BUILD})
run(${CONSUMER_BUILD}/consumer)
run(${CONSUMER_BUILD}/gl_consumer)

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
