// quillond: owns the GNSS receiver. Settles the options, builds the byte
// source and the objects that consume it, and runs the select loop.

#include <iostream>
#include <memory>
#include <vector>

#include "LogObserver/EpochFlusher.h"
#include "LogObserver/ScreenDumpObserver.h"
#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "io/InputOutputHandler.h"
#include "main/MainLoop.h"
#include "main/PortHandler.h"
#include "main/ProgramOptions.h"
#include "main/Startup.h"
#include "platform/Config/Config.h"
#include "platform/Core/CrashHandler.h"
#include "platform/Net/NMEAHandlerAPI.h"
#include "platform/Net/NMEAService.h"
#include "platform/Net/SocketCollection.h"
#include "platform/Position/PositionAPI.h"
#include "platform/Position/PositionService.h"

int main(int argc, char* argv[]) {
    Core::Utilities::CrashHandler::Instance().Enable("quillond");

    if (IsHelpRequest(argc, argv)) {
        PrintUsage(std::cout, argv[0]);
        return 0;
    }

    ReserveStandardDescriptors();

    SProgramOptions& options = ProgramOptions();
    ApplyConfiguration(options, CConfig::GetSystemConfig());
    if (!ApplyCommandLine(options, argc, argv, std::cerr)) return -1;

    if (options.GetElevatePriority() && !ElevatePriority()) {
        std::cerr << "Unable to set process priority" << std::endl;
        return -1;
    }

    // Construction order: byte source, framers, observers, command manager,
    // port handler, socket collection with its servers.
    std::unique_ptr<CInputOutputHandler> source = CreateByteSource(options);
    if (!source) {
        std::cerr << "Unrecognised I/O type. Exiting" << std::endl;
        return -1;
    }

    Novatel::CNovatelBinarySentenceConstructor binaryFramer;
    Novatel::CNovatelASCIISentenceConstructor asciiFramer;
    CNMEASentenceConstructor nmeaFramer;
    std::vector<CSentenceConstructor*> framers = {&binaryFramer, &asciiFramer, &nmeaFramer};

    // Observers are offered each record in this order.
    EpochFlusher epochFlusher;
    std::unique_ptr<CScreenDumpObserver> screenDump;
    std::vector<CLogObserver*> observers = {&epochFlusher};
    if (options.GetDisplayPackets()) {
        screenDump.reset(new CScreenDumpObserver());
        observers.push_back(screenDump.get());
    }

    CPortHandler portHandler("NovatelPortHandler");
    portHandler.SetByteSource(source.get());
    portHandler.SetFramers(framers);
    portHandler.SetObservers(observers);
    epochFlusher.SetPortHandler(&portHandler);
    std::vector<CPortHandler*> portHandlers = {&portHandler};

    // The daemon goes on without a service whose port cannot be had; Start
    // has said why on standard error.
    SocketCollectionC sockets;
    CNMEAService nmeaService;
    nmeaService.Start(CConfig::GetSystemConfig());
    CNMEAHandlerAPI::SetService(&nmeaService);
    sockets.Add(&nmeaService);
    CPositionService positionService;
    positionService.Start(CConfig::GetSystemConfig());
    CPositionAPI::SetService(&positionService);
    sockets.Add(&positionService);

    InstallStopSignals();
    portHandler.Start();
    RunMainLoop(portHandlers, &sockets, options);
    return 0;
}
