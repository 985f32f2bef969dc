// Makes the precompiled headers of the suites; see tests/CMakeLists.txt.
int main() {}
