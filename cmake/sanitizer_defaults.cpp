// Compiled into every executable of a sanitizer build, so that one started by hand behaves as one
// started by the tests.

extern "C" {

const char *__asan_default_options()
{
    return "detect_stack_use_after_return=1:fast_unwind_on_malloc=1";
}

const char *__ubsan_default_options()
{
    return "print_stacktrace=1";
}

// Only what third-party libraries keep until the end of the process, by library or function.
const char *__lsan_default_suppressions()
{
    return "leak:libfontconfig\n"
           "leak:libdbus-1\n"
           "leak:libSDL2\n"
           "leak:libGLX_mesa\n"
           "leak:libGLdispatch\n"
           "leak:libLLVM\n"
           "leak:libgallium\n"
           "leak:swrast_dri\n"
           "leak:libqoffscreen\n";
}

// A library that is unloaded takes its names along, and no suppression matches its leaks any more.
int dlclose(void *)
{
    return 0;
}
}
