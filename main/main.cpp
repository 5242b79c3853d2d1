// quillond: owns the GNSS receiver. Settles the options, builds the byte
// source and the objects that consume it, and runs the select loop.

#include <sys/stat.h>

#include <iostream>
#include <memory>
#include <vector>

#include "LogObserver/DiagnosticsObserver.h"
#include "LogObserver/EpochFlusher.h"
#include "LogObserver/NMEALogObserver.h"
#include "LogObserver/PositionManager.h"
#include "LogObserver/ReceiverStatusObserver.h"
#include "LogObserver/ScreenDumpObserver.h"
#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "control/CommandManager.h"
#include "control/ConstellationManager.h"
#include "control/NovatelMPIServer.h"
#include "io/InputOutputHandler.h"
#include "io/ReceiverBreakout.h"
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
    // Nothing the daemon creates (the configuration store, its lock) is
    // writable by other users, nor readable by them.
    ::umask(027);

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

    // The services the observers hand their results to are up before the
    // first record can arrive. The daemon goes on without a service whose
    // port cannot be had; Start has said why on standard error.
    CNMEAService nmeaService;
    nmeaService.Start(CConfig::GetSystemConfig());
    CNMEAHandlerAPI::SetService(&nmeaService);
    CPositionService positionService;
    positionService.Start(CConfig::GetSystemConfig());
    CPositionAPI::SetService(&positionService);

    CReceiverStatusObserver statusObserver;
    CConstellationManager constellationManager;
    CPositionManager positionManager;
    CNMEALogObserver nmeaObserver;
    CDiagnosticsObserver diagnosticsObserver;
    EpochFlusher epochFlusher;
    std::unique_ptr<CScreenDumpObserver> screenDump;

    // Observers are offered each record in this order: the status observer
    // has published a record's values before the position manager and the
    // NMEA observer read them, and the command manager sees a record last.
    std::vector<CLogObserver*> observers = {&statusObserver,       &positionManager,
                                            &nmeaObserver,         &diagnosticsObserver,
                                            &constellationManager, &epochFlusher};
    if (options.GetDisplayPackets()) {
        screenDump.reset(new CScreenDumpObserver());
        observers.push_back(screenDump.get());
    }
    positionManager.SetStatusObserver(&statusObserver);
    nmeaObserver.SetStatusObserver(&statusObserver);

    CCommandManager commandManager;
    commandManager.SetByteSource(source.get());
    commandManager.SetStatusObserver(&statusObserver);
    commandManager.SetConstellationManager(&constellationManager);
    if (!commandManager.LoadInitialisations(options.GetConfigurationFile())) {
        std::cerr << "Cannot read the receiver configuration file '"
                  << options.GetConfigurationFile()
                  << "'; the built-in receiver configuration is used" << std::endl;
        commandManager.BuildConfiguration();
    }
    observers.push_back(&commandManager);

    // Only a receiver port (serial or port router) is broken out; a capture
    // or a recorded log has no receiver to bring back.
    std::unique_ptr<CReceiverBreakout> breakout;
    if (options.GetIoType() == 1 || options.GetIoType() == 3) {
        breakout.reset(new CReceiverBreakout(source.get(), options.GetBreakoutMode()));
        breakout->SetBaudRate(options.GetBaudRate());
    }

    CPortHandler portHandler("NovatelPortHandler");
    portHandler.SetByteSource(source.get());
    portHandler.SetFramers(framers);
    portHandler.SetObservers(observers);
    portHandler.SetCommandManager(&commandManager);
    portHandler.SetBreakout(breakout.get());
    epochFlusher.SetPortHandler(&portHandler);
    std::vector<CPortHandler*> portHandlers = {&portHandler};

    SocketCollectionC sockets;
    CNovatelMPIServer mpiServer;
    mpiServer.SetCommandManager(&commandManager);
    mpiServer.SetStatusObserver(&statusObserver);
    sockets.SetServer(&mpiServer);
    sockets.Add(&nmeaService);
    sockets.Add(&positionService);

    InstallStopSignals();
    portHandler.Start();
    RunMainLoop(portHandlers, &sockets, options);
    return 0;
}
