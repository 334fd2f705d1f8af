// A small seeded mutation fuzzer for the parsers. libFuzzer does not run
// under mingw and Wine, so each parser's test feeds it inputs made from a few
// valid samples by random edits, with a fixed seed (the same inputs on every
// run) and a time budget (a slow machine tries fewer, never hangs).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zortest {

struct FuzzOptions {
  uint32_t seed = 1;
  /// Stop after this many inputs...
  int maxInputs = 2000;
  /// ...or once this much time has gone by, whichever comes first.
  unsigned long budgetMs = 3000;
};

/// Runs `body` on each sample and then on mutated copies of them: one to four
/// edits each (bits flipped, bytes set to line ends, quotes, NUL or 0xFF,
/// `tokens` dropped in, runs deleted, repeated or copied from another sample,
/// long runs that cross the parsers' buffer sizes, a cut at a random point).
/// Stops at the first input that makes a test assertion fail and reports it;
/// if the program crashes instead, the crash report names the input. Returns
/// the number of inputs tried.
int Fuzz(const std::vector<std::string>& samples, const std::vector<std::string>& tokens,
         const FuzzOptions& options, const std::function<void(const std::string&)>& body);

/// The input being fuzzed right now, escaped, with its seed and number; empty
/// outside Fuzz. The crash report prints it.
std::string CurrentFuzzInput();

}  // namespace zortest
