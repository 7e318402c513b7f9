// A bare window that takes the focus and prints, in seconds of the monotonic clock, when a key reaches it:
//     ready
//     key 37 12345.678901
// It never reads the clipboard: what is measured ends with the chord.
#include <xcb/xcb.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

namespace {

double now()
{
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

} // namespace

int main()
{
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection))
        return 1;
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const xcb_window_t window = xcb_generate_id(connection);
    const std::uint32_t values[] = {screen->white_pixel, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_FOCUS_CHANGE};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 300, 200, 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    constexpr char kClass[] = "chord-target\0ChordTarget";
    xcb_change_property(
        connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, sizeof kClass, kClass);
    xcb_change_property(
        connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 12, "Chord target");
    xcb_map_window(connection, window);
    xcb_flush(connection);
    bool told = false;
    while (const std::unique_ptr<xcb_generic_event_t, Free> event{xcb_wait_for_event(connection)}) {
        const int type = event->response_type & 0x7f;
        if (type == XCB_FOCUS_IN && !told) {
            told = true;
            std::printf("ready\n");
        } else if (type == XCB_KEY_PRESS) {
            std::printf("key %d %.6f\n", reinterpret_cast<const xcb_key_press_event_t*>(event.get())->detail, now());
        }
        std::fflush(stdout);
    }
    return 0;
}
