# The name by which the program finds its way into the module of its own build, and of no other: a hash
# of all that they are made of, which is the same for everybody who builds the same.
#
# Included, it makes the target tarq_build_id; as a script (-P) it writes the header.
if(CMAKE_SCRIPT_MODE_FILE)
    set(digests "")
    foreach(input IN LISTS inputs)
        file(SHA256 ${input} digest)
        string(APPEND digests "${digest}\n")
    endforeach()
    string(SHA256 id "${digests}")
    string(SUBSTRING ${id} 0 16 id)
    string(MAKE_C_IDENTIFIER "${version}" version)
    file(CONFIGURE OUTPUT ${header} @ONLY CONTENT [[
#pragma once

#define TARQ_ENTRY tarqRunInstance@version@_@id@
#define TARQ_ENTRY_NAME "tarqRunInstance@version@_@id@"
]])
    return()
endif()

file(GLOB_RECURSE build_inputs CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/assets/* ${PROJECT_SOURCE_DIR}/qml/* ${PROJECT_SOURCE_DIR}/src/*)
list(APPEND build_inputs ${CMAKE_BINARY_DIR}/generated/Deployment.h)
set(build_id_header ${CMAKE_BINARY_DIR}/generated/BuildId.h)
add_custom_command(OUTPUT ${build_id_header}
    COMMAND ${CMAKE_COMMAND}
        "-Dinputs=${build_inputs}" -Dversion=${PROJECT_VERSION} -Dheader=${build_id_header}
        -P ${CMAKE_CURRENT_LIST_FILE}
    DEPENDS ${build_inputs} ${CMAKE_CURRENT_LIST_FILE}
    COMMENT "Naming the build"
    VERBATIM)
add_custom_target(tarq_build_id DEPENDS ${build_id_header})
