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
#include <cstring>
#include <string_view>
#include <vector>

namespace {

// NumLock is Mod2 on every keymap Xvfb ships.
constexpr uint16_t kNumLock = XCB_MOD_MASK_2;
constexpr xcb_keysym_t kKeysymJ = 'j';

struct Variant {
    std::string_view name;
    uint16_t locks;
};
constexpr Variant kVariants[] = {{"plain", 0},
                                 {"caps", XCB_MOD_MASK_LOCK},
                                 {"num", kNumLock},
                                 {"capsnum", XCB_MOD_MASK_LOCK | kNumLock}};

int usage() {
    std::fprintf(stderr, "usage: x11_keygrab grab [--hold] plain|caps|num|capsnum...\n"
                         "       x11_keygrab locks\n");
    return 2;
}

xcb_keycode_t keycodeOfJ(xcb_connection_t* connection) {
    xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(connection);
    xcb_keycode_t* codes = symbols ? xcb_key_symbols_get_keycode(symbols, kKeysymJ) : nullptr;
    const xcb_keycode_t code = codes ? codes[0] : 0;
    std::free(codes);
    if (symbols)
        xcb_key_symbols_free(symbols);
    return code;
}

int printLocks(xcb_connection_t* connection, xcb_window_t root) {
    xcb_query_pointer_reply_t* reply =
        xcb_query_pointer_reply(connection, xcb_query_pointer(connection, root), nullptr);
    if (!reply)
        return 1;
    std::printf("caps=%d num=%d\n", (reply->mask & XCB_MOD_MASK_LOCK) ? 1 : 0,
                (reply->mask & kNumLock) ? 1 : 0);
    std::free(reply);
    return 0;
}

int grab(xcb_connection_t* connection, xcb_window_t root, bool hold,
         const std::vector<const Variant*>& variants) {
    const xcb_keycode_t keycode = keycodeOfJ(connection);
    if (!keycode) {
        std::fprintf(stderr, "x11_keygrab: no keycode for j\n");
        return 1;
    }
    bool all = true;
    for (const Variant* variant : variants) {
        const xcb_void_cookie_t cookie =
            xcb_grab_key_checked(connection, 1, root, XCB_MOD_MASK_1 | variant->locks, keycode,
                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        xcb_generic_error_t* error = xcb_request_check(connection, cookie);
        std::printf("%s %.*s\n", error ? "taken" : "grabbed", int(variant->name.size()),
                    variant->name.data());
        all = all && !error;
        std::free(error);
    }
    std::fflush(stdout);
    if (!hold)
        return all ? 0 : 1;

    std::printf("holding\n");
    std::fflush(stdout);
    while (xcb_generic_event_t* event = xcb_wait_for_event(connection)) {
        if ((event->response_type & ~0x80) == XCB_KEY_PRESS) {
            const auto* press = reinterpret_cast<xcb_key_press_event_t*>(event);
            std::printf("press 0x%x\n", unsigned(press->state));
            std::fflush(stdout);
        }
        std::free(event);
    }
    return 0;
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc < 2)
        return usage();
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        std::fprintf(stderr, "x11_keygrab: cannot open the display\n");
        return 1;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const std::string_view command = argv[1];

    int status = 2;
    if (command == "locks" && argc == 2) {
        status = printLocks(connection, root);
    } else if (command == "grab") {
        bool hold = false;
        std::vector<const Variant*> variants;
        for (int i = 2; i < argc; ++i) {
            const std::string_view argument = argv[i];
            if (argument == "--hold") {
                hold = true;
                continue;
            }
            const Variant* found = nullptr;
            for (const Variant& variant : kVariants) {
                if (variant.name == argument)
                    found = &variant;
            }
            if (!found) {
                variants.clear();
                break;
            }
            variants.push_back(found);
        }
        status = variants.empty() ? usage() : grab(connection, root, hold, variants);
    } else {
        status = usage();
    }
    xcb_disconnect(connection);
    return status;
}
