#pragma once
// What the port handler needs of the command manager: the receiver
// configuration queued again at every link start, and queued command lines
// taken one at a time so they reach the receiver at a controlled pace.

#include <string>

class CCommandQueue {
public:
    virtual ~CCommandQueue() {}

    // Queues the receiver configuration (and the commands sent since) again;
    // false when there is nowhere to send it.
    virtual bool QueueCommands() = 0;
    // Removes and returns the next queued command line; "" when none is queued.
    virtual std::string PopNextCommand() = 0;
    // Told after each line the port handler has written to the receiver.
    virtual void CommandSent(const std::string& line) = 0;
};
