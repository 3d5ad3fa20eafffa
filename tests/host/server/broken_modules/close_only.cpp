// A library that has one of the functions a module must have: a module that only depends on it still lacks the
// function.
extern "C" void transapi_close() {}
