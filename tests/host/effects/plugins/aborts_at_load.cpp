// A library that ends the process that loads it.
#include <cstdlib>

[[gnu::constructor]] static void End() { std::abort(); }
