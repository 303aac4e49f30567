# Makes the Debian package with CPack, checks what it holds and what it depends
# on, unpacks it and builds a consumer that finds Dayvex only in the unpacked tree.
file(REMOVE_RECURSE ${WORK_DIR})

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGN}\n${out}\n${err}")
    endif()
    set(output "${out}" PARENT_SCOPE)
endfunction()

run(cpack -G DEB --config ${DAYVEX_BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR}/package)
file(GLOB debs ${WORK_DIR}/package/dayvex_*.deb)
list(LENGTH debs count)
if(NOT count EQUAL 1)
    message(FATAL_ERROR "expected one dayvex_*.deb, found: ${debs}")
endif()

run(dpkg-deb -c ${debs})
set(contents "${output}")
foreach(path
        usr/include/dayvex/dayvex.h
        usr/include/dayvex/dayvex_export.h
        usr/include/dayvex/model/schedules.h
        ${LIBDIR}/libDayvex.so.${VERSION}
        ${LIBDIR}/libDayvexCore.so.${VERSION}
        ${LIBDIR}/cmake/Dayvex/DayvexConfig.cmake
        ${LIBDIR}/cmake/Dayvex/DayvexTargets.cmake
        ${PLUGIN_DIR}/libdayvex_designer.so)
    if(NOT contents MATCHES "\\./${path}\n")
        message(FATAL_ERROR "the package lacks /${path}:\n${contents}")
    endif()
endforeach()
# Only what a host includes is installed.
string(REGEX MATCHALL "usr/include/[^\n]*\\.h\n" headers "${contents}")
list(LENGTH headers header_count)
if(header_count GREATER 15 OR contents MATCHES "usr/include/dayvex/(views|editing|reminders|layout)/")
    message(FATAL_ERROR "the package installs internal headers (${header_count} headers):\n${contents}")
endif()
if(contents MATCHES "tst_|dayvex_demo|dayvex_monkey")
    message(FATAL_ERROR "the package holds tests or the demo:\n${contents}")
endif()

run(dpkg-deb -f ${debs} Package Version Depends)
if(NOT output MATCHES "Package: dayvex\n" OR NOT output MATCHES "Version: ${VERSION}\n")
    message(FATAL_ERROR "wrong name or version:\n${output}")
endif()
foreach(dependency libqt6widgets6 libqt6multimedia6 qt6-base-dev)
    if(NOT output MATCHES "${dependency}")
        message(FATAL_ERROR "no dependency on ${dependency}:\n${output}")
    endif()
endforeach()

run(dpkg-deb -x ${debs} ${WORK_DIR}/root)
string(REPLACE ";" " " flags "${CONSUMER_FLAGS}")
run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE_DIR} -B ${WORK_DIR}/consumer -DCMAKE_PREFIX_PATH=${WORK_DIR}/root/usr
    "-DCMAKE_CXX_FLAGS=${flags}" "-DCMAKE_EXE_LINKER_FLAGS=${flags}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/consumer)
run(${WORK_DIR}/consumer/dayvex_consumer)
run(${WORK_DIR}/consumer/dayvex_core_consumer)
