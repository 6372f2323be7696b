// The programs that this is of exist for their precompiled headers.
int main() {}
