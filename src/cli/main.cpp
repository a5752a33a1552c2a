#include <cstdio>

int main(int argc, char** argv) {
    (void)argc;
    (void)argv;
    std::puts("velmar 9.72");
    return 0;
}
