// make_help TEMPLATE RESULT RELEASE: fills in a template of this folder. Exits 1, and leaves RESULT
// as it is, when the template does not fit the program's tables.
#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "driver/help/help_pages.h"

namespace {

std::string ReadAll(const char* name) {
  std::ifstream file(name, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  if (!file) throw std::runtime_error("cannot be read");
  return text.str();
}

void WriteAll(const char* name, const std::string& text) {
  std::ofstream file(name, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error(std::string("cannot write ") + name);
}

}  // namespace

int main(int argument_count, char** arguments) {
  if (argument_count != 4) {
    std::cerr << "usage: make_help TEMPLATE RESULT RELEASE\n";
    return 1;
  }
  try {
    WriteAll(arguments[2], moldex::FilledIn(ReadAll(arguments[1]), arguments[3]));
  } catch (const std::exception& failure) {
    std::cerr << "make_help: " << arguments[1] << ": " << failure.what() << '\n';
    return 1;
  }
  return 0;
}
