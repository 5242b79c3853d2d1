#pragma once
// The byte streams the benchmarks run over: the real recordings (when the
// captures directory is there) and a long stream written by the receiver
// simulator with the daemon's usual log requests.

#include <cstddef>
#include <string>
#include <vector>

#include "platform/Core/ByteVector.h"

namespace Bench {

// Bytes the daemon asks for per read by default.
const size_t kReadSize = 1024;

// The whole recording of that name from the captures directory; empty when it is missing.
ByteVector LoadRecording(const std::string& name);

// Every binary recording (*.gps) of the captures directory, one after the other.
const ByteVector& AllRecordings();

// The simulator's output over this many simulated seconds, made once per length.
const ByteVector& SimulatedStream(unsigned seconds);

// The complete sentences of a stream as the three framers cut them, in framer order.
std::vector<ByteVector> FrameAll(const ByteVector& stream);

}  // namespace Bench
