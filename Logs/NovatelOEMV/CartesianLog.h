#pragma once
// CCartesianLog: the interface of a record that carries an ECEF position and
// velocity solution. Consumers find such records with a dynamic cast and read
// them through this interface only, never through the receiver's classes.
//
// CGPSRecord is a virtual base, like everywhere in the record tree, so a
// receiver record that also implements this interface still holds exactly one
// CGPSRecord part.

#include "Logs/NovatelOEMV/GPSRecord.h"

class CCartesianLog : public virtual CGPSRecord {
public:
    ~CCartesianLog() override = default;
};
