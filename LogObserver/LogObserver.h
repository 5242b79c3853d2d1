#pragma once
// A consumer of decoded receiver records. The port handler offers every record
// to every observer in a fixed order; the record lives for the call only, so an
// observer copies what it keeps. An observer takes the records it handles by a
// dynamic cast and ignores the rest, a null record included.

class CGPSRecord;

class CLogObserver {
public:
    virtual ~CLogObserver() {}
    virtual void NewPacket(CGPSRecord* record) = 0;
};
