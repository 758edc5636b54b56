#pragma once

// Runs one scene in a fresh engine, records it and writes the replay page and
// the trajectory file.
#include <string>

#include "Options.h"

namespace KorvanDemo {

// Returns the process exit status: 0 on success, 1 when the output cannot be
// written.
int runScene(const DemoOptions& options);

}  // namespace KorvanDemo
