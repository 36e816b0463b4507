# moravu_add_room(NAME SOURCES ... [LINK ...])
# A room is a static library that sees its own room and those it links, nothing else.
function(moravu_add_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;LINK;LINK_PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${ROOM_LINK}
        PRIVATE moravu_warnings moravu_explicit_texts ${ROOM_LINK_PRIVATE})
    target_precompile_headers(${name} REUSE_FROM moravu_precompiled_program)
endfunction()

# moravu_add_test(NAME LINK ... [SOURCES ...] [LABELS ...] [TIMEOUT s] [DISPLAY])
# One Qt Test executable from NAME.cpp. DISPLAY gives it a virtual X server of its own with a
# window manager and a compositor; without it, it runs on Qt's offscreen platform.
function(moravu_add_test name)
    cmake_parse_arguments(TEST "DISPLAY" "TIMEOUT" "SOURCES;LINK;LABELS" ${ARGN})
    add_executable(${name} ${name}.cpp ${TEST_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${TEST_LINK} Qt5::Test moravu_warnings)
    target_precompile_headers(${name} REUSE_FROM moravu_precompiled_tests)
    if(TEST_DISPLAY)
        add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/scripts/with-display
            $<TARGET_FILE:${name}>)
        set_property(TEST ${name} PROPERTY ENVIRONMENT QT_QPA_PLATFORM=xcb)
    else()
        add_test(NAME ${name} COMMAND ${name})
        set_property(TEST ${name} PROPERTY ENVIRONMENT QT_QPA_PLATFORM=offscreen)
    endif()
    if(NOT TEST_TIMEOUT)
        set(TEST_TIMEOUT 120)
    endif()
    set_property(TEST ${name} PROPERTY TIMEOUT ${TEST_TIMEOUT})
    set_property(TEST ${name} PROPERTY LABELS ${TEST_LABELS})
endfunction()
