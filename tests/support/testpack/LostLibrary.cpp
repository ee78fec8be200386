// The library that the orphaned pack is linked with.

int FunctionOfTheLostLibrary();

int FunctionOfTheLostLibrary() { return 0; }
