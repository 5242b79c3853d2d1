#pragma once
// The record factory: the one place where a sentence from the framers becomes
// a record of the right class. The port handler calls CreateRecord once per
// sentence; the other three functions are its branches, in the order they are
// tried. Every record returned is new, owned by the caller and deleted through
// CGPSRecord's virtual destructor. The factory keeps no state and checks
// nothing beyond the first byte and the response bit: framers deliver only
// non-empty, checksum-verified sentences, and a record never refuses a frame.

#include <cstdint>

#include "Logs/NovatelOEMV/GPSRecord.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"
#include "platform/Core/ByteVector.h"

// A CNMEARecord for a sentence starting with "$"; otherwise CreateNovatelRecord.
CGPSRecord* CreateRecord(const ByteVector& sentence);

// Null for a NovAtel ASCII sentence (starting with "#"), which makes no
// record; otherwise CreateBinaryRecord.
CGPSRecord* CreateNovatelRecord(const ByteVector& sentence);

// A Novatel::CNovatelBinaryResponse when bit 7 of the message type is set,
// whatever the message ID; otherwise CreateBinaryLog for the frame's message ID.
Novatel::CNovatelBinaryRecord* CreateBinaryRecord(const ByteVector& frame);

// The record class for a log's message ID (NovatelMessageIDs.h); a plain
// Novatel::CNovatelBinaryRecord (header and frame only) for any other ID.
Novatel::CNovatelBinaryRecord* CreateBinaryLog(uint16_t messageId, const ByteVector& frame);
