// main.cpp: the program's entry.
int main() { return 0; }
