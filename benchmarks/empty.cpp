// Does nothing. What happens before its main depends on the libraries that it is linked with.
int main() {}
