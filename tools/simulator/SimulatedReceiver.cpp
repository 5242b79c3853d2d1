#include "tools/simulator/SimulatedReceiver.h"

#include <algorithm>
#include <cmath>

#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "platform/Core/Maths.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace Simulator {

namespace {

const uint64_t kMillisecondsPerWeek = 604800000ull;
const uint8_t kIdleTime = 140;  // 70 % idle, in half-percent steps
const uint8_t kFineSteering = 180;
const uint8_t kPortAddressCom1 = 0x20;

uint32_t SatelliteKey(const SSatelliteView& view) {
    return static_cast<uint32_t>(view.system) * 1000u + view.prn;
}

}  // namespace

const uint32_t CSimulatedReceiver::kStepMs;

CSimulatedReceiver::CSimulatedReceiver(const SReceiverSettings& settings)
    : m_settings(settings), m_scenario(settings.scenario), m_channelSet(settings.channelSet) {
    m_identity.model = settings.glonassModel ? "L12LGRV" : "L12LRV";
    m_identity.softwareVersion = settings.softwareVersion;
    m_channelSets = {
        {{14, kSignalGpsL1}},
        {{12, kSignalGpsL1}, {2, kSignalSbasL1}},
        {{10, kSignalGpsL1}, {4, kSignalSbasL1}},
    };
    if (settings.glonassModel) {
        m_channelSets.push_back({{12, kSignalGpsL1}, {12, kSignalGlonassL1}});
        m_channelSets.push_back({{12, kSignalGpsL1}, {2, kSignalSbasL1}, {10, kSignalGlonassL1}});
    }
    if (m_channelSet < 1 || m_channelSet > m_channelSets.size()) m_channelSet = 1;
    Restart(true);
    m_resets = 0;
    m_rebooting = false;  // power-up: the receiver is ready at once

    const SScenarioSettings& s = settings.scenario;
    m_startMs = static_cast<uint64_t>(s.startWeek) * kMillisecondsPerWeek +
                static_cast<uint64_t>(s.startSeconds * 1000.0 + 0.5);
    const double metresPerDegree =
        Core::Maths::WGS84_SEMI_MAJOR_AXIS * Core::Maths::RADIANS_PER_DEGREE;
    const double baseLatitude = s.latitudeDegrees + settings.baseNorthMetres / metresPerDegree;
    const double baseLongitude =
        s.longitudeDegrees +
        settings.baseEastMetres /
            (metresPerDegree * std::cos(s.latitudeDegrees * Core::Maths::RADIANS_PER_DEGREE));
    m_base = CScenario::ToEcef(baseLatitude, baseLongitude, s.heightMetres);
}

void CSimulatedReceiver::Restart(bool factoryDefaults) {
    m_logs.clear();
    m_lockStart.clear();
    m_input.clear();
    ++m_resets;
    m_rebooting = true;
    m_rebootUntilMs = m_elapsedMs + 3000;
    if (!factoryDefaults) return;
    m_ports.clear();
    const char* names[] = {"COM1", "COM2", "COM3", "USB1", "USB2", "USB3"};
    const uint32_t ids[] = {1, 2, 3, 13, 14, 15};
    for (int i = 0; i < 6; ++i) {
        SPortConfig port;
        port.name = names[i];
        port.id = ids[i];
        port.baud = i == 0 ? m_settings.baudRate : (i < 3 ? 9600 : 57600);
        m_ports.push_back(port);
    }
    m_channelSet = m_settings.channelSet;
    if (m_channelSet < 1 || m_channelSet > m_channelSets.size()) m_channelSet = 1;
}

void CSimulatedReceiver::Advance(uint32_t milliseconds) {
    for (uint32_t done = 0; done < milliseconds; done += kStepMs) Step();
}

ByteVector CSimulatedReceiver::TakeOutput() {
    ByteVector output;
    output.swap(m_output);
    return output;
}

SSnapshot CSimulatedReceiver::Snapshot(bool withSky) {
    SSnapshot snapshot;
    const uint64_t now = m_startMs + m_elapsedMs;
    snapshot.week = static_cast<uint16_t>(now / kMillisecondsPerWeek);
    snapshot.milliseconds = static_cast<uint32_t>(now % kMillisecondsPerWeek);
    snapshot.elapsed = GetElapsedSeconds();
    snapshot.identity = &m_identity;
    snapshot.ports = &m_ports;
    snapshot.channelSets = &m_channelSets;
    snapshot.currentChannelSet = m_channelSet;
    snapshot.base = m_base;
    if (!withSky) return snapshot;
    snapshot.geometry = m_scenario.At(snapshot.elapsed);

    // Channels of the set in use, per system; the highest satellites get them.
    uint32_t channels[3] = {0, 0, 0};
    for (const auto& group : m_channelSets[m_channelSet - 1]) {
        if (group.second == kSignalGpsL1) channels[kGPS] += group.first;
        if (group.second == kSignalGlonassL1) channels[kGLONASS] += group.first;
        if (group.second == kSignalSbasL1) channels[kSBAS] += group.first;
    }
    std::vector<SSatelliteView> candidates = snapshot.geometry.satellites;
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const SSatelliteView& a, const SSatelliteView& b) {
                         return a.elevationDegrees > b.elevationDegrees;
                     });
    std::vector<SSatelliteView> chosen;
    uint32_t taken[3] = {0, 0, 0};
    for (const SSatelliteView& view : candidates) {
        if (taken[view.system] < channels[view.system]) {
            ++taken[view.system];
            chosen.push_back(view);
        }
    }
    std::sort(chosen.begin(), chosen.end(), [](const SSatelliteView& a, const SSatelliteView& b) {
        return SatelliteKey(a) < SatelliteKey(b);
    });
    std::map<uint32_t, double> lockStart;
    uint32_t channel = 0;
    for (const SSatelliteView& view : chosen) {
        auto known = m_lockStart.find(SatelliteKey(view));
        const double start = known == m_lockStart.end() ? snapshot.elapsed : known->second;
        lockStart[SatelliteKey(view)] = start;
        STrackedSatellite tracked;
        tracked.view = view;
        tracked.channel = channel++;
        tracked.lockTime = snapshot.elapsed - start;
        snapshot.tracked.push_back(tracked);
    }
    m_lockStart.swap(lockStart);
    return snapshot;
}

bool CSimulatedReceiver::IsSilent() const {
    const SFaultSettings& f = m_settings.faults;
    const double elapsed = GetElapsedSeconds();
    return m_rebooting || (f.silenceStart >= 0.0 && elapsed >= f.silenceStart &&
                           elapsed < f.silenceStart + f.silenceSeconds);
}

void CSimulatedReceiver::Emit(const std::string& text) {
    if (IsSilent()) return;
    m_output.insert(m_output.end(), text.begin(), text.end());
}

void CSimulatedReceiver::EmitFrame(ByteVector frame) {
    if (IsSilent()) return;
    const uint32_t every = m_settings.faults.corruptEvery;
    if (every > 0 && ++m_binaryFrames % every == 0) frame.back() ^= 0xFF;
    m_output.insert(m_output.end(), frame.begin(), frame.end());
}

void CSimulatedReceiver::Step() {
    m_elapsedMs += kStepMs;
    if (m_rebooting && m_elapsedMs >= m_rebootUntilMs) {
        m_rebooting = false;
        Prompt();
    }
    const SFaultSettings& faults = m_settings.faults;
    if (faults.garbageBytes > 0 && m_elapsedMs % 1000 == 0) {
        std::string junk;
        while (junk.size() < faults.garbageBytes) {
            m_garbageSeed = m_garbageSeed * 1103515245u + 12345u;
            const char byte = static_cast<char>((m_garbageSeed >> 16) & 0xFF);
            // Never a byte that starts a sentence: the junk must not hide a log.
            if (byte != '#' && byte != '$' && static_cast<uint8_t>(byte) != 0xAA)
                junk.push_back(byte);
        }
        Emit(junk);
    }
    const uint64_t now = m_startMs + m_elapsedMs;
    std::vector<size_t> due;
    for (size_t i = 0; i < m_logs.size(); ++i) {
        const SActiveLog& log = m_logs[i];
        if (!log.name.produced) continue;
        if (log.trigger == kOnTime && now % log.periodMs == 0) due.push_back(i);
        if (log.trigger == kOnChanged || log.trigger == kOnNew) {
            if (IsSetupLog(log.name.id) || now % 1000 == 0) due.push_back(i);
        }
    }
    if (due.empty()) return;
    bool withSky = false;
    for (size_t i : due) withSky |= NeedsSky(m_logs[i].name);
    const SSnapshot snapshot = Snapshot(withSky);
    for (size_t i : due) OutputLog(m_logs[i], snapshot);
}

void CSimulatedReceiver::OutputLog(SActiveLog& log, const SSnapshot& snapshot) {
    if (!log.name.produced) return;
    if (log.name.form == kNmeaForm) {
        Emit(BuildNmea(log.name.base, snapshot));
        return;
    }
    SSnapshot adjusted = snapshot;
    const SFaultSettings& faults = m_settings.faults;
    if (log.name.id == Novatel::kPDPSTATMessageID && faults.phaseDropStart >= 0.0 &&
        snapshot.elapsed >= faults.phaseDropStart && m_pdpStatEpochs < faults.phaseDropEpochs) {
        adjusted.phaseDropped = true;
        ++m_pdpStatEpochs;
    }
    const CLogFields fields = BuildLogFields(log.name.id, adjusted);
    if (log.trigger == kOnChanged || log.trigger == kOnNew) {
        if (IsSetupLog(log.name.id) && log.lastOutput >= 0.0 && fields.Binary() == log.lastBody)
            return;
        log.lastBody = fields.Binary();
    }
    log.lastOutput = snapshot.elapsed;
    Tools::SFrameHeader header;
    header.messageId = log.name.id;
    header.portAddress = kPortAddressCom1;
    header.sequence = 0;
    header.idleTime = kIdleTime;
    header.timeStatus = kFineSteering;
    header.week = snapshot.week;
    header.milliseconds = snapshot.milliseconds;
    header.receiverStatus = 0;
    header.softwareVersion = m_identity.softwareBuild;
    if (log.name.form == kBinaryForm) {
        EmitFrame(Tools::BuildBinaryFrame(header, fields.Binary()));
    } else {
        Emit(BuildAsciiLog(LogOutputName(log.name), m_ports[0].name, header, fields.Ascii()));
    }
}

}  // namespace Simulator
