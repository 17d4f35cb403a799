# Installs the build to a scratch prefix, then builds and runs a project that knows only that prefix.

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE said ERROR_VARIABLE said)
    if(NOT code EQUAL 0)
        list(JOIN ARGN " " line)
        message(FATAL_ERROR "${line}\n${said}\nended with ${code}")
    endif()
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
set(prefix ${SCRATCH}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

set(flags "-Wall -Wextra -Wpedantic -Werror")
if(SANITIZE)
    string(APPEND flags " -fsanitize=${SANITIZE}")
endif()
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${CONSUMER} -B ${SCRATCH}/build
    -D CMAKE_CXX_COMPILER=${COMPILER} -D CMAKE_CXX_FLAGS=${flags} -D CMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${SCRATCH}/build)
run(${SCRATCH}/build/consumer)
