/* SPDX-License-Identifier: GPL-3.0-or-later */

/* Loaded into the portal of wlroots before its own libraries. Version 0.7 of it gives up on a compositor that offers
   pictures in ordinary memory only, as one without a graphics card does: it waits for a second format, that of graphics
   memory, and never uses it. So each description of a frame in ordinary memory is followed by one that names such a
   format of the same size. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <wayland-client.h>

/* The first and the sixth event of the interface are descriptions; all take the same first two arguments. */
enum { kBufferEvent = 0, kGraphicsEvent = 5, kEventCount = 7 };
static const uint32_t kXrgb = 0x34325258; /* "XR24" */

typedef void (*Event)(void);
typedef void (*BufferEvent)(void* data, struct wl_proxy* frame, uint32_t format, uint32_t width, uint32_t height,
                            uint32_t stride);
typedef void (*GraphicsEvent)(void* data, struct wl_proxy* frame, uint32_t format, uint32_t width, uint32_t height);

static Event theirs[kEventCount];

static void describeBoth(void* data, struct wl_proxy* frame, uint32_t format, uint32_t width, uint32_t height,
                         uint32_t stride) {
    ((BufferEvent)theirs[kBufferEvent])(data, frame, format, width, height, stride);
    ((GraphicsEvent)theirs[kGraphicsEvent])(data, frame, kXrgb, width, height);
}

int wl_proxy_add_listener(struct wl_proxy* proxy, Event* events, void* data) {
    typedef int (*AddListener)(struct wl_proxy*, Event*, void*);
    static AddListener next;
    static Event ours[kEventCount];
    if (next == NULL) next = (AddListener)dlsym(RTLD_NEXT, "wl_proxy_add_listener");
    if (next == NULL) abort();
    if (strcmp(wl_proxy_get_class(proxy), "zwlr_screencopy_frame_v1") != 0) return next(proxy, events, data);
    memcpy(theirs, events, sizeof theirs);
    memcpy(ours, events, sizeof ours);
    ours[kBufferEvent] = (Event)describeBoth;
    return next(proxy, ours, data);
}
