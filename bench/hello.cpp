// The smallest program of its kind: sets the locale from the environment and prints one line through
// iostream. bench/compare measures start-up against it.
#include <clocale>
#include <iostream>

int main() {
    std::setlocale(LC_ALL, "");
    std::cout << "hello\n";
}
