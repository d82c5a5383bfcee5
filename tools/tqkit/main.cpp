#include <cstdio>
int main() { std::puts("tqkit"); return 0; }
