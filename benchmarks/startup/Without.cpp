#include <string>

int main(int, char** arguments) { return std::string(arguments[0]).empty(); }
