// The messages that benchmarks run over.
#ifndef QUARROW_BENCH_MESSAGE_SET_H_
#define QUARROW_BENCH_MESSAGE_SET_H_

#include <zvellparser.h>

#include <memory>
#include <string>
#include <vector>

struct BenchMessage {
  std::unique_ptr<MimePart> part;
  unsigned long size;  // bytes
  std::string path;
};

// The messages below the folder that --messages names, or else the examples, one a file. Read once.
const std::vector<BenchMessage>& bench_messages();

// The same messages, read anew.
std::vector<BenchMessage> read_messages();

// Takes --messages=FOLDER out of the arguments.
void read_messages_option(int& argc, char** argv);

#endif  // QUARROW_BENCH_MESSAGE_SET_H_
