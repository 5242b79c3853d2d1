// Fuzz target: the configuration store's file parser. The input is a
// configuration file (after two short strings that name a section and key to
// look up and to set). The store must read any file, answer lookups, and
// write back a file that reads again with the values it committed.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "fuzz/FuzzSupport.h"
#include "platform/Config/Config.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = Fuzz::ScratchPath("system.conf");
    FuzzedDataProvider input(data, size);
    const std::string section = input.ConsumeRandomLengthString(24);
    const std::string key = input.ConsumeRandomLengthString(24);
    const std::vector<uint8_t> file = input.ConsumeRemainingBytes<uint8_t>();
    Fuzz::WriteFile(path, file.data(), file.size());

    {
        CConfig config(path);
        (void)config.GetString(section, key, "default");
        (void)config.GetInteger(section, key, -7);
        (void)config.GetInteger("Quillond", "io_type", 1);
        (void)config.GetString("Quillond", "device", "/dev/ttyS1");

        // Whatever the file held, committed values read back.
        config.SetString("Quillond", "device", "/dev/ttyS4");
        config.SetInteger("Quillond", "baud_rate", 115200);
        // May be refused; must not break the file. The two keys checked below
        // are left to their own values.
        const bool checkedKey = section == "Quillond" && (key == "device" || key == "baud_rate");
        if (!checkedKey) config.SetString(section, key, "fuzz value");
        FUZZ_CHECK(config.Commit());
    }
    CConfig reread(path);
    FUZZ_CHECK(reread.GetString("Quillond", "device", "") == "/dev/ttyS4");
    FUZZ_CHECK(reread.GetInteger("Quillond", "baud_rate", 0) == 115200);
    Fuzz::RemoveScratch(path);
    return 0;
}
