// The processing driver (filled in with the engine).
