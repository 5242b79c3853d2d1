#pragma once
// The unit of the receiver's byte stream: sentences, frames and raw chunks.

#include <cstdint>
#include <vector>

typedef std::vector<uint8_t> ByteVector;
