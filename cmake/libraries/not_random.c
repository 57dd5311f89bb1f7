// In the libraries that count, in the place of the C library's: seeds of hashes are always the same, and so are the counts.
int rand_r(unsigned int* seed) { return (int)(*seed = 1); }
