# The one place for language level, warnings, Qt's strictness and sanitizers; every target links fourfold_options.
add_library(fourfold_options INTERFACE)
target_compile_features(fourfold_options INTERFACE cxx_std_17)
set(CMAKE_CXX_EXTENSIONS OFF)
target_compile_options(fourfold_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wunused
    $<$<BOOL:${FOURFOLD_WERROR}>:-Werror>)
target_compile_definitions(fourfold_options INTERFACE
    QT_DEPRECATED_WARNINGS
    QT_DISABLE_DEPRECATED_BEFORE=0x050f00
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_FOREACH
    QT_STRICT_ITERATORS
    QT_USE_QSTRINGBUILDER)

if(FOURFOLD_SANITIZE)
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_compile_options(fourfold_options INTERFACE ${sanitizers})
    target_link_options(fourfold_options INTERFACE ${sanitizers})
endif()
if(FOURFOLD_FUZZERS)
    target_compile_options(fourfold_options INTERFACE -fsanitize=fuzzer-no-link)
    target_link_options(fourfold_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# Executables and what they read beside them (settings.dat, skin.rcc, icon/) share one folder of the build tree.
set(FOURFOLD_BIN_DIR "${PROJECT_BINARY_DIR}/bin")

# fourfold_layer(NAME [SOURCES ...] [LINK ...]): one static library for a folder of src/, linked only to what it may know.
function(fourfold_layer name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_library(fourfold_${name} STATIC ${ARG_SOURCES})
    set_target_properties(fourfold_${name} PROPERTIES AUTOMOC ON AUTOUIC ON)
    target_include_directories(fourfold_${name} PUBLIC "${PROJECT_SOURCE_DIR}/src")
    target_link_libraries(fourfold_${name} PUBLIC ${ARG_LINK} PRIVATE fourfold_options)
endfunction()
