// A library needs a source, and what is precompiled for all tests is kept as one: CMakeLists.txt says what
// that is.
