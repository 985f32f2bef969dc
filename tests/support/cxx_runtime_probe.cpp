// What becomes of a program without the shared C++ library: the word of the command line says what goes wrong
// in it. Prints "fine" when nothing does.
#include <climits>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

struct Base {
    Base() { Call(this); }
    virtual ~Base() = default;
    virtual void Do() = 0;
    __attribute__((noinline)) static void Call(Base* base) { base->Do(); }
};

struct Derived : Base {
    void Do() override {}
};

/// Containers and texts, as the daemon uses them.
bool WorksWell() {
    std::map<std::string, std::vector<std::string>> map;
    for (int i = 0; i < 1000; ++i) map[std::to_string(i % 100)].push_back(std::string(i % 50, 'x'));
    map.erase("50");
    std::string all;
    for (const auto& [key, list] : map) all += key + "=" + list.back() + "\n";
    auto* empty = new char[0];
    const bool is_block = empty != nullptr;
    delete[] empty;
    return is_block && map.size() == 99 && all.find("17=") != std::string::npos && all.substr(0, 2) == "0=";
}

}  // namespace

int main(int argc, char** argv) {
    const char* what = argc > 1 ? argv[1] : "";
    volatile size_t size = PTRDIFF_MAX - 100;
    std::string text = "text";
    while (strcmp(what, "memory") == 0) text.assign(new char[size], 0);  // 32 bits have room for one
    if (strcmp(what, "length") == 0) text.resize(size + 100);
    if (strcmp(what, "vector") == 0) std::vector<std::string>(1).resize(size);
    if (strcmp(what, "position") == 0) text.insert(size, "x");
    if (strcmp(what, "null") == 0) text = std::string(static_cast<const char*>(size > 0 ? nullptr : what));
    if (strcmp(what, "pure") == 0) Derived();
    puts(WorksWell() ? "fine" : "not fine");
    return 0;
}
