#pragma once

#include <mpv/client.h>
#include <mpv/render_gl.h>

// The functions of libmpv that the player calls, under their names without the prefix.
#define MORAVU_MPV_FUNCTIONS(FUNCTION)                                                             \
    FUNCTION(create)                                                                               \
    FUNCTION(initialize)                                                                           \
    FUNCTION(terminate_destroy)                                                                    \
    FUNCTION(set_option)                                                                           \
    FUNCTION(set_option_string)                                                                    \
    FUNCTION(set_property)                                                                         \
    FUNCTION(get_property)                                                                         \
    FUNCTION(observe_property)                                                                     \
    FUNCTION(unobserve_property)                                                                   \
    FUNCTION(command_node)                                                                         \
    FUNCTION(command_node_async)                                                                   \
    FUNCTION(free_node_contents)                                                                   \
    FUNCTION(wait_event)                                                                           \
    FUNCTION(set_wakeup_callback)                                                                  \
    FUNCTION(render_context_create)                                                                \
    FUNCTION(render_context_set_update_callback)                                                   \
    FUNCTION(render_context_render)                                                                \
    FUNCTION(render_context_free)

// libmpv is not linked: it and the hundred libraries behind it would triple the time in which a
// program that may never play anything starts. Its functions are looked up at first use.
struct MpvLibrary
{
// NOLINTNEXTLINE(bugprone-macro-parentheses): the name of a member
#define MORAVU_MPV_MEMBER(name) decltype(&::mpv_##name) name = nullptr;
    MORAVU_MPV_FUNCTIONS(MORAVU_MPV_MEMBER)
#undef MORAVU_MPV_MEMBER
};

// The loaded library, or null where it is missing or lacks a function; the reason is logged.
// Loads at the first call and stays loaded. Interface thread only.
const MpvLibrary *mpvLibrary();
