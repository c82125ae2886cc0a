// Compiled for the precompiled headers that the tests share.
