#pragma once

#include "platform/output.h"
#include "query/result.h"

namespace morvex {

// Prints a line for each metric below the root, sorted by name inside each group: its dotted path, class,
// unit and description. A table stands for its instances with a star, and ends in a line that names them.
// Sorts the tree. Depth costs memory, not stack.
// Throws error::EFatal for a root that is no group, and as getStringProperty, sortChildren and Output do; the
// lines before that stand.
void printMetricGroup(Output& output, tqlquery::Result& root);

}  // namespace morvex
