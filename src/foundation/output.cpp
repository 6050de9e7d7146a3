#include "foundation/output.h"

void Output::flush() {
  if (buffer_.empty()) {
    return;
  }
  try {
    drain(buffer_);
  } catch (...) {
    buffer_.clear();  // part of it may be out: a later flush must not write that twice, nor fail again
    throw;
  }
  buffer_.clear();
}
