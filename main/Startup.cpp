#include "main/Startup.h"

#include <fcntl.h>
#include <sched.h>
#include <stdio.h>
#include <unistd.h>

#include "io/FileHandler.h"
#include "io/ReplayHandler.h"
#include "io/SerialHandler.h"
#include "io/TolvekHandler.h"
#include "io/TolvekPort.h"
#include "main/ProgramOptions.h"
#include "platform/Config/Config.h"

bool ElevatePriority() {
    struct sched_param parameters;
    parameters.sched_priority = 49;
    if (::sched_setscheduler(::getpid(), SCHED_FIFO, &parameters) != 0) {
        ::perror("quillond: Error setting scheduler policy");
    }
    return true;
}

std::unique_ptr<CInputOutputHandler> CreateByteSource(const SProgramOptions& options) {
    std::unique_ptr<CInputOutputHandler> source;
    switch (options.GetIoType()) {
        case IO_TYPE_FILE:
            source.reset(new CFileHandler());
            break;
        case IO_TYPE_SERIAL:
            source.reset(new CSerialHandler());
            break;
        case IO_TYPE_REPLAY:
            source.reset(new CReplayHandler());
            break;
        case IO_TYPE_TOLVEK: {
            CTolvekHandler* tolvek = new CTolvekHandler();
            source.reset(tolvek);
            tolvek->SetPathPattern(CConfig::GetSystemConfig().GetString(
                "Quillond", "tolvek_socket_path", TolvekPort::kDefaultPathPattern));
            break;
        }
        default:
            return source;
    }
    source->SetBaudRate(options.GetBaudRate());
    source->SetReadSize(options.GetReadSize());
    source->SetPortName(options.GetInputName());
    return source;
}

void ReserveStandardDescriptors() {
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) != -1) continue;
        int opened = ::open("/dev/null", descriptor == 0 ? O_RDONLY : O_WRONLY);
        if (opened >= 0 && opened != descriptor) {
            ::dup2(opened, descriptor);
            ::close(opened);
        }
    }
}
