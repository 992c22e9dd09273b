#pragma once

// libdispatch, as far as the adapters call it. Written from Apple's public
// documentation for the Linux check; pages are under
// https://developer.apple.com/documentation/dispatch/.

#include "../OrvCheckAvailability.h"

typedef void (^dispatch_block_t)(void);                           // dispatch/dispatch_block_t
typedef struct dispatch_queue_s* dispatch_queue_t;                // dispatch/dispatch_queue_t
typedef struct dispatch_queue_s* dispatch_queue_global_t;         // dispatch/dispatch_queue_global_t
typedef struct dispatch_queue_s* dispatch_queue_main_t;           // dispatch/dispatch_queue_main_t
typedef long dispatch_queue_priority_t;                           // dispatch/dispatch_queue_priority_t

#define DISPATCH_QUEUE_PRIORITY_DEFAULT 0                         // dispatch/dispatch_queue_priority_default

#ifdef __cplusplus
extern "C" {
#endif

dispatch_queue_main_t dispatch_get_main_queue(void) API_AVAILABLE(macos(10.6));                          // dispatch/dispatch_get_main_queue
dispatch_queue_global_t dispatch_get_global_queue(long identifier, unsigned long flags) API_AVAILABLE(macos(10.6));  // dispatch/dispatch_get_global_queue
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) API_AVAILABLE(macos(10.6));           // dispatch/dispatch_async

#ifdef __cplusplus
}
#endif
