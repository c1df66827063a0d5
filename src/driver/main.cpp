#include "driver/program.h"

int main(int argument_count, char** arguments) { return moldex::Main(argument_count, arguments); }
