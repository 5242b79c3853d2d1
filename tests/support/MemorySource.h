#pragma once
// A receiver port in memory for tests of the parts that read from and write
// to a byte source: reads hand out prepared chunks (nothing once they are
// used up), writes are kept in order, opens and closes are counted.

#include <deque>
#include <string>
#include <vector>

#include "io/InputOutputHandler.h"

namespace TestSupport {

class CMemorySource : public CInputOutputHandler {
public:
    int Open() override {
        ++m_opens;
        return m_open = true;
    }
    int Close() override {
        m_open = false;
        ++m_closes;
        return 1;
    }
    bool IsOpen() override { return m_open; }
    ByteVector Read(int) override {
        if (m_chunks.empty()) return ByteVector();
        ByteVector chunk = m_chunks.front();
        m_chunks.pop_front();
        return chunk;
    }
    int Write(const std::string& text) override {
        m_written.push_back(text);
        return 1;
    }
    int Write(const ByteVector& bytes) override {
        return Write(std::string(bytes.begin(), bytes.end()));
    }
    int SetPortName(const std::string&) override { return 1; }
    int SetTimeout(Core::Time) override { return 1; }
    void SendBreak() override {}
    int SetBaudRate(int) override { return 1; }
    int GetFileDescriptor() override { return m_descriptor; }

    std::deque<ByteVector> m_chunks;     // what the next reads hand out
    std::vector<std::string> m_written;  // every write, in order
    bool m_open = true;
    int m_opens = 0;
    int m_closes = 0;
    int m_descriptor = -1;
};

}  // namespace TestSupport
