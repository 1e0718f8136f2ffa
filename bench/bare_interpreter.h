// libsieve as Debian ships it, used as plainly as possible: Match is measured against it.
#ifndef QUARROW_BENCH_BARE_INTERPRETER_H_
#define QUARROW_BENCH_BARE_INTERPRETER_H_

#include <string>
#include <vector>

// A message whose answers are ready in memory.
struct BareMessage {
  struct Header {
    std::string name;
    std::string value;
    char* list[5];  // value, or nothing; more slots than are used, as the interpreter may read them
  };
  std::vector<Header> headers;
  int size = 0;  // bytes
};

// Runs `script` over a message in a fresh context. Gives the number of actions that it asks for.
int bare_match(const std::string& script, BareMessage& message);

#endif  // QUARROW_BENCH_BARE_INTERPRETER_H_
