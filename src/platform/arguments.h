// The words of the command line.
#ifndef MOLDEX_PLATFORM_ARGUMENTS_H_
#define MOLDEX_PLATFORM_ARGUMENTS_H_

namespace moldex {

struct Arguments {
  int count = 0;
  char** words = nullptr;
};

// The words of this process's command line in the local code page: those that `main` was given, or
// the system's own where it has them in another form. They live as long as the process. Throws
// CExcept (kErrorConversion) when a word has no form in the code page.
Arguments LocalArguments(int count, char** words);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_ARGUMENTS_H_
