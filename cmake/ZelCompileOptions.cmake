# Compile options of all targets.

add_library(zel_compile_options INTERFACE)

target_compile_definitions(zel_compile_options INTERFACE
    QT_DISABLE_DEPRECATED_UP_TO=0x060400
    QT_DISABLE_DEPRECATED_BEFORE=0x060400
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_FOREACH)

target_compile_options(zel_compile_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<BOOL:${ZEL_WERROR}>:-Werror>)

# Releases are hardened like distribution packages.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
target_compile_options(zel_compile_options INTERFACE
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.
    $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2 -fstack-protector-strong>)
target_link_options(zel_compile_options INTERFACE $<$<CONFIG:Release>:-Wl,-z,relro,-z,now>)

if(ZEL_SANITIZE)
    set(zel_sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_compile_options(zel_compile_options INTERFACE ${zel_sanitizers})
    # Preconditions of the standard library, which the sanitizers do not see.
    target_compile_definitions(zel_compile_options INTERFACE _GLIBCXX_ASSERTIONS)
    target_link_options(zel_compile_options INTERFACE ${zel_sanitizers})
endif()

if(ZEL_FUZZ)
    # Qt's own assertions count as findings, too.
    target_compile_definitions(zel_compile_options INTERFACE QT_FORCE_ASSERTS)
    target_compile_options(zel_compile_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(ZEL_COVERAGE)
    target_compile_options(zel_compile_options INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(zel_compile_options INTERFACE --coverage)
endif()

# zel_library(<target> SOURCES <file>... USES <target>...)
#
# A subsystem of the launcher: a static library whose headers are included from src/.
function(zel_library target)
    cmake_parse_arguments(arg "" "" "SOURCES;USES" ${ARGN})
    foreach(used ${arg_USES})
        if(NOT TARGET ${used})
            message(FATAL_ERROR "${target} uses ${used}, which src/CMakeLists.txt must add first")
        endif()
    endforeach()
    add_library(${target} STATIC ${arg_SOURCES})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${target} PUBLIC ${arg_USES} PRIVATE zel_compile_options)
endfunction()
