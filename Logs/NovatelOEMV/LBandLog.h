#pragma once
// CLBandLog: the interface of a record that describes the state of the
// receiver's L-band (satellite correction service) channel. Consumers find
// such records with a dynamic cast.
//
// CGPSRecord is a virtual base, like everywhere in the record tree, so a
// receiver record that also implements this interface still holds exactly one
// CGPSRecord part.

#include "Logs/NovatelOEMV/GPSRecord.h"

class CLBandLog : public virtual CGPSRecord {
public:
    ~CLBandLog() override = default;
};
