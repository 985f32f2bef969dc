// The one door to RapidJSON: include this, never RapidJSON's headers directly. It makes the library's
// assertions fatal in every build: after a failed one the library would read memory as something that it
// isn't.
#pragma once

#ifdef RAPIDJSON_ASSERT
#error "RapidJSON was included without json.h, which settles its assertions"
#endif

#include <cstdio>
#include <cstdlib>

[[noreturn]] inline void json_assertion_failed(const char* file, int line, const char* expression) {
    fprintf(stderr, "%s:%d: Assertion `%s' failed.\n", file, line, expression);
    abort();
}

#define RAPIDJSON_ASSERT(x) ((x) ? static_cast<void>(0) : json_assertion_failed(__FILE__, __LINE__, #x))

#include <rapidjson/document.h>

/// RapidJSON's default grammar (strict JSON, one root value), parsed without recursion: the depth of a file
/// must not decide how much stack the daemon needs.
constexpr unsigned kJsonParseFlags = rapidjson::kParseDefaultFlags | rapidjson::kParseIterativeFlag;
