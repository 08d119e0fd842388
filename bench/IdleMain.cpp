// An empty program linked like the daemon: the baseline of the daemon's resident set.

#include <unistd.h>

#include <cstdio>

int main() {
    std::fputs("idle\n", stderr);
    for (;;) pause();
}
