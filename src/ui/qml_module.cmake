# The QML of the room ui as the module Murmelo.Ui, compiled into the library with its icons.
set(qml_types
    BaseButton ButtonText Card ElapsedText FocusRing InputCard Label LastRecordingCard LinkButton MenuBackground MenuPanel MeterBar MicList
    MicPicker OnboardingRow OnboardingView OnboardingWindow PanelBackground ProminentButton PushButton RecordCard SmallSwitch
    Spinner Symbol Theme ThinScrollIndicator TranscribeCard)
list(TRANSFORM qml_types REPLACE "(.+)" "ui/qml/\\1.qml" OUTPUT_VARIABLE qml_files)
foreach(file ${qml_files})
    get_filename_component(name ${file} NAME)
    set_source_files_properties(${file} PROPERTIES QT_RESOURCE_ALIAS ${name})
endforeach()
set_source_files_properties(ui/qml/Theme.qml PROPERTIES QT_QML_SINGLETON_TYPE TRUE)

set(icons
    1-circle 2-circle check checkmark-circle-fill chevron-up-down mic record-circle record-circle-fill speaker-wave-2
    stop-fill waveform)
list(TRANSFORM icons REPLACE "(.+)" "ui/icons/\\1.svg" OUTPUT_VARIABLE icon_files)
foreach(file ${icon_files})
    get_filename_component(name ${file} NAME)
    set_source_files_properties(${file} PROPERTIES QT_RESOURCE_ALIAS icons/${name})
endforeach()

set_target_properties(ui PROPERTIES AUTOMOC ON)
target_include_directories(ui PRIVATE ui ui/qml) # for the generated registration of types
# No plugin: the program has the module in itself.
qt_add_qml_module(ui
    URI Murmelo.Ui
    VERSION 1.0
    NO_PLUGIN
    DEPENDENCIES QtQuick
    OUTPUT_TARGETS ui_parts
    RESOURCE_PREFIX /qt/qml
    OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/qml/Murmelo/Ui
    SOURCES ui/qml/contrast_guard.h ui/qml/pressable.cpp ui/qml/pressable.h
    QML_FILES ${qml_files}
    RESOURCES ${icon_files})

# Compiled QML is one unit, for nearly all that the compiler does with each file is to read Qt's headers. It repeats its
# parameters' names, and is not ours to look at.
get_target_property(compiled_qml ui SOURCES)
list(FILTER compiled_qml INCLUDE REGEX "/qmlcache/")
set_source_files_properties(${compiled_qml} PROPERTIES UNITY_GROUP compiled_qml)
set_target_properties(ui PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP
    UNITY_BUILD_CODE_BEFORE_INCLUDE "#pragma GCC diagnostic ignored \"-Wshadow\"")
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/.clang-tidy "Checks: '-*,misc-definitions-in-headers'\n")
if(TARGET ui_qmlcache) # their loader; later versions of Qt have it in the library itself
    murmelo_use_precompiled(ui_qmlcache quick)
endif()
