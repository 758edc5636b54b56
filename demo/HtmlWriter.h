#pragma once

// Self-contained replay page: the recording is embedded as JSON and played on a
// canvas by an inline script (no network, no external files).
#include <string>

#include "Recording.h"

namespace KorvanDemo {

// The recording as compact JSON. Non-finite numbers become null, and "<" is
// escaped in strings so the text can sit inside a <script> element.
std::string recordingToJson(const Recording& recording);

// The complete page for a recording.
std::string replayHtml(const Recording& recording);

// Writes replayHtml to `path`; false if the file cannot be written.
bool writeReplayHtml(const std::string& path, const Recording& recording);

}  // namespace KorvanDemo
