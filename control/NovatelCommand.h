#pragma once
// Novatel::CNovatelCommand: a command for a NovAtel receiver. It adds no data;
// the concrete forms (so far only the abbreviated ASCII one) derive from it.

#include "control/GPSCommand.h"

namespace Novatel {

class CNovatelCommand : public CGPSCommand {
public:
    ~CNovatelCommand() override {}
};

}  // namespace Novatel
