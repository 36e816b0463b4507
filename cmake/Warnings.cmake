# One INTERFACE target carries what every target of this project is compiled with.
add_library(moravu_warnings INTERFACE)

target_compile_options(moravu_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-qual -Wformat=2 -Wnull-dereference -Wimplicit-fallthrough
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op -Wsuggest-override>
    $<$<BOOL:${MORAVU_WERROR}>:-Werror>)

# Messages carry no source position in any build, so that a log reads the same everywhere.
target_compile_definitions(moravu_warnings INTERFACE
    QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH QT_NO_MESSAGELOGCONTEXT
    QT_DEPRECATED_WARNINGS)

# The program itself says how each of its texts is made. Tests and measurements may write a plain
# literal where a QString is wanted.
add_library(moravu_explicit_texts INTERFACE)
target_compile_definitions(moravu_explicit_texts INTERFACE QT_NO_CAST_FROM_ASCII)

if(MORAVU_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
    # The defaults belong to the executables, not to the libraries that carry the same warnings.
    target_sources(moravu_warnings INTERFACE
        $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:${CMAKE_CURRENT_LIST_DIR}/sanitizer_defaults.cpp>)
    target_link_options(moravu_warnings INTERFACE LINKER:--export-dynamic-symbol=dlclose)
    # GCC's flow analysis reports null dereferences that the instrumentation itself introduces.
    target_compile_options(moravu_warnings INTERFACE -Wno-null-dereference
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
