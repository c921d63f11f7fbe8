# The speech engine sherpa-onnx, where scripts/set-up.sh has fetched it. It is loaded at run time only, by its worker and
# from one place; without it everything else builds and runs. Nothing of it is changed.
block(PROPAGATE CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS)
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
        set(package sherpa-onnx-linux-arm64)
    else()
        set(package sherpa-onnx-linux-x64)
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
                 ${PROJECT_SOURCE_DIR}/scripts/sherpa-onnx/package.json)
    file(READ ${PROJECT_SOURCE_DIR}/scripts/sherpa-onnx/package.json packages)
    string(JSON version GET ${packages} optionalDependencies ${package})

    set(MURMELO_SHERPA_ONNX ${PROJECT_SOURCE_DIR}/build/sherpa-onnx/node_modules/${package}
        CACHE PATH "The folder of the npm package ${package} ${version}")
    set(folder lib/murmelo/sherpa-onnx/${version})
    file(REMOVE_RECURSE ${CMAKE_BINARY_DIR}/lib/murmelo/sherpa-onnx)
    if(EXISTS ${MURMELO_SHERPA_ONNX}/libsherpa-onnx-c-api.so)
        file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/${folder})
        foreach(library libonnxruntime.so libsherpa-onnx-c-api.so)
            # The build tree mirrors the installed one.
            file(CREATE_LINK ${MURMELO_SHERPA_ONNX}/${library} ${CMAKE_BINARY_DIR}/${folder}/${library} SYMBOLIC)
            install(FILES ${MURMELO_SHERPA_ONNX}/${library} DESTINATION ${folder})
        endforeach()
        # dpkg-shlibdeps must find them, although they are of no package.
        set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${MURMELO_SHERPA_ONNX})
    endif()
endblock()
