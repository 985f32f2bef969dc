// Whether a sanitizer watches memory and threads, which then are to be what they seem.
#pragma once

#if defined(__has_feature)  // clang's way to ask
#define HAS_SANITIZER (__has_feature(address_sanitizer) || __has_feature(thread_sanitizer))
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HAS_SANITIZER 1
#else
#define HAS_SANITIZER 0
#endif
