# cmake -DBUILD=... -DSOURCE=... -DGENERATOR=... -DCOMPILER=... -P package_test.cmake
set(work ${BUILD}/package-test)
file(REMOVE_RECURSE ${work})

function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY OUTPUT_VARIABLE output)
  set(output "${output}" PARENT_SCOPE)
endfunction()

run(cpack --config ${BUILD}/CPackConfig.cmake -B ${work}/package)
file(GLOB package ${work}/package/*.deb)
run(dpkg-deb -x ${package} ${work}/root)
set(installed ${work}/root/usr)

# A program of somebody else's, built in both ways against what the package brought.
run(${CMAKE_COMMAND} -S ${SOURCE}/examples/library -B ${work}/build -G ${GENERATOR}
    -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_PREFIX_PATH=${installed})
run(${CMAKE_COMMAND} --build ${work}/build)
file(GLOB_RECURSE pc ${installed}/parvane.pc)
cmake_path(GET pc PARENT_PATH pc_folder)
run(${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pc_folder} pkg-config --cflags --libs parvane)
separate_arguments(flags UNIX_COMMAND "${output}")
run(${COMPILER} -std=c++20 ${SOURCE}/examples/library/convert_one.cpp ${flags}
    -o ${work}/build/convert_two)

foreach(program convert_one convert_two)
  run(${CMAKE_COMMAND} -E env XDG_DATA_HOME=${work}
      ${work}/build/${program} ${SOURCE}/examples/mail/Inbox.mbox ${work}/${program}.pst)
  if(NOT output MATCHES "6 messages written")
    message(FATAL_ERROR "${program}, built against the installed library, said: ${output}")
  endif()
  run(${installed}/bin/parvane list ${work}/${program}.pst)
  if(NOT output MATCHES "Inbox +6 messages")
    message(FATAL_ERROR "The installed program lists: ${output}")
  endif()
  run(${installed}/bin/parvane check ${work}/${program}.pst)
endforeach()

foreach(path share/man/man1/parvane.1 share/bash-completion/completions/parvane)
  if(NOT EXISTS ${installed}/${path})
    message(FATAL_ERROR "${path} is not in the package")
  endif()
endforeach()
