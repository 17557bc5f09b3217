# cmake -DBUILD=... -DSOURCE=... -DGENERATOR=... -DCOMPILER=... -P package_test.cmake
set(work ${BUILD}/package-test)
file(REMOVE_RECURSE ${work})

function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY OUTPUT_VARIABLE output)
  set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${work}/prefix)
run(${CMAKE_COMMAND} -S ${SOURCE}/examples/library -B ${work}/build -G ${GENERATOR}
    -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_PREFIX_PATH=${work}/prefix)
run(${CMAKE_COMMAND} --build ${work}/build)
run(${CMAKE_COMMAND} -E env XDG_DATA_HOME=${work}
    ${work}/build/convert_one ${SOURCE}/examples/mail/Inbox.mbox ${work}/out.pst)
if(NOT output MATCHES "6 messages written")
  message(FATAL_ERROR "The program built against the installed library said: ${output}")
endif()
run(${work}/prefix/bin/parvane list ${work}/out.pst)
if(NOT output MATCHES "Inbox +6 messages")
  message(FATAL_ERROR "The installed program lists: ${output}")
endif()
foreach(path share/man/man1/parvane.1 share/bash-completion/completions/parvane)
  if(NOT EXISTS ${work}/prefix/${path})
    message(FATAL_ERROR "${path} was not installed")
  endif()
endforeach()
