# Relocatable programs: each embeds ZEL_PORTABLE_FILES, the relative path of the folder with its
# libraries and plugins, so that a program and its libraries always match, even during an upgrade.

set(portable_conf ${PROJECT_BINARY_DIR}/portable/qt.conf)
set(portable_qrc ${PROJECT_BINARY_DIR}/portable/portable.qrc)
file(CONFIGURE OUTPUT ${portable_conf} CONTENT "[Paths]\nPrefix=${ZEL_PORTABLE_FILES}\nPlugins=plugins\n")
file(CONFIGURE OUTPUT ${portable_qrc} CONTENT
    "<RCC><qresource prefix=\"/qt/etc\"><file>qt.conf</file></qresource></RCC>\n")

# zel_make_portable(<folder>): makes all programs in and below a source folder relocatable.
function(zel_make_portable folder)
    get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target ${targets})
        get_target_property(type ${target} TYPE)
        if(type STREQUAL "EXECUTABLE")
            target_sources(${target} PRIVATE ${portable_qrc})
        endif()
    endforeach()
    get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
    foreach(below ${folders})
        zel_make_portable(${below})
    endforeach()
endfunction()
zel_make_portable(${PROJECT_SOURCE_DIR}/src)
zel_make_portable(${PROJECT_SOURCE_DIR}/tools)
