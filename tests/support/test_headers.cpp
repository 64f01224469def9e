// The test framework's headers, compiled for all tests (tests/CMakeLists.txt).
