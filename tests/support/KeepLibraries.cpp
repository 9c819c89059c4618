// Part of every test in a build that looks for leaks: libraries stay loaded, so that what a graphics driver
// leaks can be told by its name in the report.
extern "C" int dlclose(void *library)
{
    static_cast<void>(library);
    return 0;
}
