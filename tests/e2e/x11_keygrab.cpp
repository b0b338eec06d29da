// Another X client for the hot key scripts: it takes Alt+J on the root window the way a
// rival program would, probes who holds which lock-key variant, and reads the lock keys.
//
//   x11_keygrab grab [--hold] VARIANT...   VARIANT: plain, caps, num, capsnum
//       One line per variant, "grabbed VARIANT" or "taken VARIANT" (BadAccess). Exit 0 when
//       every variant was grabbed, 1 otherwise. With --hold it prints "holding", keeps the
//       grabs and prints "press 0xSTATE" for each Alt+J it receives, until it is killed.
//       Without --hold the grabs end with the process: a probe.
//   x11_keygrab locks                      "caps=0|1 num=0|1", as the server has them now.
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

// NumLock is Mod2 on every keymap Xvfb ships.
constexpr uint16_t kNumLock = XCB_MOD_MASK_2;

struct Variant {
    std::string_view name;
    uint16_t locks;
};
constexpr Variant kVariants[] = {{"plain", 0},
                                 {"caps", XCB_MOD_MASK_LOCK},
                                 {"num", kNumLock},
                                 {"capsnum", XCB_MOD_MASK_LOCK | kNumLock}};

xcb_keycode_t keycodeOfJ(xcb_connection_t* connection) {
    xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(connection);
    xcb_keycode_t* codes = symbols ? xcb_key_symbols_get_keycode(symbols, 'j') : nullptr;
    const xcb_keycode_t code = codes ? codes[0] : 0;
    std::free(codes);
    if (symbols)
        xcb_key_symbols_free(symbols);
    return code;
}

int printLocks(xcb_connection_t* connection, xcb_window_t root) {
    auto* reply = xcb_query_pointer_reply(connection, xcb_query_pointer(connection, root), nullptr);
    if (!reply)
        return 1;
    std::printf("caps=%d num=%d\n", (reply->mask & XCB_MOD_MASK_LOCK) ? 1 : 0,
                (reply->mask & kNumLock) ? 1 : 0);
    std::free(reply);
    return 0;
}

// Grabs each variant named in `names`; 2 for a name that is no variant.
int grab(xcb_connection_t* connection, xcb_window_t root, char** names, int count) {
    const xcb_keycode_t keycode = keycodeOfJ(connection);
    const bool hold = count > 0 && std::string_view(names[0]) == "--hold";
    bool all = keycode != 0;
    for (int i = hold ? 1 : 0; i < count && keycode; ++i) {
        const Variant* variant = nullptr;
        for (const Variant& candidate : kVariants)
            variant = candidate.name == names[i] ? &candidate : variant;
        if (!variant)
            return 2;
        xcb_generic_error_t* error = xcb_request_check(
            connection, xcb_grab_key_checked(connection, 1, root, XCB_MOD_MASK_1 | variant->locks,
                                             keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        std::printf("%s %s\n", error ? "taken" : "grabbed", names[i]);
        all = all && !error;
        std::free(error);
    }
    if (!hold)
        return all ? 0 : 1;
    std::printf("holding\n");
    std::fflush(stdout);
    while (xcb_generic_event_t* event = xcb_wait_for_event(connection)) {
        if ((event->response_type & ~0x80) == XCB_KEY_PRESS) {
            std::printf("press 0x%x\n",
                        unsigned(reinterpret_cast<xcb_key_press_event_t*>(event)->state));
            std::fflush(stdout);
        }
        std::free(event);
    }
    return 0;
}

} // namespace

int main(int argc, char* argv[]) {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        std::fprintf(stderr, "x11_keygrab: cannot open the display\n");
        return 1;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const std::string_view command = argc > 1 ? argv[1] : "";
    int status = 2;
    if (command == "locks")
        status = printLocks(connection, root);
    else if (command == "grab")
        status = grab(connection, root, argv + 2, argc - 2);
    if (status == 2)
        std::fprintf(stderr, "usage: x11_keygrab grab [--hold] plain|caps|num|capsnum...\n"
                             "       x11_keygrab locks\n");
    xcb_disconnect(connection);
    return status;
}
