// A program in the daemon's place that is never the same twice, unless it is told to be steady. With the
// words of the real daemon it goes on for ever, as that does.
#include <unistd.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    const std::string word = argc > 1 ? argv[1] : "";
    printf("number %d\n", word == "steady" ? 0 : static_cast<int>(getpid()));
    while (word != "steady" && word != "unsteady") sleep(3600);
    return 3;
}
