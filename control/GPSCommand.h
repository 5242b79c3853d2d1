#pragma once
// CGPSCommand: the root of every command the daemon can send to a receiver.
// It holds nothing; a receiver family narrows it and a concrete command
// renders itself to the bytes that go down the receiver port.

class CGPSCommand {
public:
    virtual ~CGPSCommand() {}
};
