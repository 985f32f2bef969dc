// What the templates of the C++ library call, for programs and libraries without exceptions that do without
// the shared library: its relocations, its locales and its reserve for exceptions take more memory than all
// else of the daemon. Where that library would throw, the process ends as it would by an exception that
// nobody catches: by SIGABRT, after a word on standard error. Any thread.
#include <bits/functexcept.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

namespace {

[[noreturn]] void End(const char* why) {
    fprintf(stderr, "%s\n", why);
    abort();
}

}  // namespace

void* operator new(size_t size) {
    void* block = malloc(size > 0 ? size : 1);
    if (block == nullptr) End("out of memory");
    return block;
}

void operator delete(void* block) noexcept {
    free(block);
}

void operator delete(void* block, size_t) noexcept {
    free(block);
}

// The headers leave it to the library.
template class std::basic_string<char>;

namespace std {

void __throw_bad_alloc() {
    End("out of memory");
}

void __throw_bad_array_new_length() {
    End("out of memory");
}

void __throw_length_error(const char* where) {
    End(where);
}

void __throw_logic_error(const char* where) {
    End(where);
}

void __throw_out_of_range_fmt(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
    End("");
}

void __throw_system_error(int error) {
    errno = error;
    perror("system error");
    abort();
}

}  // namespace std

extern "C" void __cxa_pure_virtual() {
    End("pure virtual call");
}
