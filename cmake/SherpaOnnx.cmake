# The speech engine sherpa-onnx, where scripts/set-up.sh has fetched it. It is loaded at run time only, by its worker and
# from one place; without it everything else builds and runs. Nothing of it is changed.
file(READ ${PROJECT_SOURCE_DIR}/scripts/sherpa-onnx/package.json package)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
    set(package_name sherpa-onnx-linux-arm64)
else()
    set(package_name sherpa-onnx-linux-x64)
endif()
string(JSON package_version GET ${package} optionalDependencies ${package_name})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/scripts/sherpa-onnx/package.json)

set(MURMELO_SHERPA_ONNX ${PROJECT_SOURCE_DIR}/build/sherpa-onnx/node_modules/${package_name}
    CACHE PATH "The folder of the npm package ${package_name} ${package_version}")
set(folder lib/murmelo/sherpa-onnx/${package_version})
set(libraries ${MURMELO_SHERPA_ONNX}/libsherpa-onnx-c-api.so ${MURMELO_SHERPA_ONNX}/libonnxruntime.so)

# The build tree mirrors the installed one.
file(REMOVE_RECURSE ${CMAKE_BINARY_DIR}/lib/murmelo/sherpa-onnx)
set(MURMELO_SHERPA_ONNX_FOUND FALSE)
if(EXISTS ${MURMELO_SHERPA_ONNX}/libsherpa-onnx-c-api.so)
    set(MURMELO_SHERPA_ONNX_FOUND TRUE)
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/${folder})
    foreach(library ${libraries})
        get_filename_component(name ${library} NAME)
        file(CREATE_LINK ${library} ${CMAKE_BINARY_DIR}/${folder}/${name} SYMBOLIC)
    endforeach()
    install(FILES ${libraries} DESTINATION ${folder})
    # Libraries of no package, which dpkg-shlibdeps must find all the same.
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${MURMELO_SHERPA_ONNX})
endif()
