#pragma once
// The status words of the receiver's L-band (OmniSTAR) channel, as LBANDSTAT
// reports them, each decoded into named flags. Every decoded word keeps its
// raw value and prints itself as one line of name=value pairs (flags as 0 or
// 1) under a heading, for the screen dump and diagnostics.

#include <cstdint>
#include <iostream>

// The L-band signal tracking word.
class CLBandSignalTracking {
public:
    explicit CLBandSignalTracking(uint16_t word = 0) { Decode(word); }

    // Keeps the word and extracts its fields.
    void Decode(uint16_t word);

    uint16_t GetRawWord() const { return m_rawWord; }
    // 0 to 3 (bits 0 and 1); 3 is the receiver's fully tracking state.
    unsigned GetTrackingState() const { return m_trackingState; }
    bool HasBitTimingLock() const { return m_bitTimingLock; }
    bool IsPhaseLocked() const { return m_phaseLocked; }
    bool IsDCOffsetUnlocked() const { return m_dcOffsetUnlocked; }
    bool IsAGCUnlocked() const { return m_agcUnlocked; }
    bool HasError() const { return m_error; }

    // Writes "[CLBandSignalTracking]:" and the fields, one line.
    void Print(std::ostream& out = std::cout) const;

private:
    uint16_t m_rawWord = 0;
    unsigned m_trackingState = 0;
    bool m_bitTimingLock = false;
    bool m_phaseLocked = false;
    bool m_dcOffsetUnlocked = false;
    bool m_agcUnlocked = false;
    bool m_error = false;
};

// The OmniSTAR VBS (virtual base station) status word.
class COmnistarVBSStatusWord {
public:
    explicit COmnistarVBSStatusWord(uint16_t word = 0) { Decode(word); }

    // Keeps the word and extracts its flags.
    void Decode(uint16_t word);

    uint16_t GetRawWord() const { return m_rawWord; }
    bool IsSubscriptionExpired() const { return m_subscriptionExpired; }
    bool IsOutOfRegion() const { return m_outOfRegion; }
    bool HasWetError() const { return m_wetError; }
    bool HasLinkError() const { return m_linkError; }
    bool HasNoRemoteSites() const { return m_noRemoteSites; }
    bool HasNoAlmanac() const { return m_noAlmanac; }
    bool HasNoPosition() const { return m_noPosition; }
    bool HasNoTime() const { return m_noTime; }
    bool IsUpdatingData() const { return m_updatingData; }

    // Writes "[COmnistarVBSStatusWord]: " and the fields, one line. The raw
    // word is printed as "SignalState=" and the link error flag is left out;
    // both are deliberate, readers of the line expect it so.
    void Print(std::ostream& out = std::cout) const;

private:
    uint16_t m_rawWord = 0;
    bool m_subscriptionExpired = false;
    bool m_outOfRegion = false;
    bool m_wetError = false;
    bool m_linkError = false;
    bool m_noRemoteSites = false;
    bool m_noAlmanac = false;
    bool m_noPosition = false;
    bool m_noTime = false;
    bool m_updatingData = false;
};

// The OmniSTAR HP (high performance) status word.
class COmnistarHPStatusWord {
public:
    explicit COmnistarHPStatusWord(uint32_t word = 0) { Decode(word); }

    // Keeps the word and extracts its flags.
    void Decode(uint32_t word);

    uint32_t GetRawWord() const { return m_rawWord; }
    bool IsSubscriptionExpired() const { return m_subscriptionExpired; }
    bool IsOutOfRegion() const { return m_outOfRegion; }
    bool HasWetError() const { return m_wetError; }
    bool HasLinkError() const { return m_linkError; }
    bool HasNoMeasurements() const { return m_noMeasurements; }
    bool HasNoEphemeris() const { return m_noEphemeris; }
    bool HasNoInitialPosition() const { return m_noInitialPosition; }
    bool HasNoTimeSet() const { return m_noTimeSet; }
    bool HasVelocityError() const { return m_velocityError; }
    bool HasNoBaseStations() const { return m_noBaseStations; }
    bool HasNoMappingMessage() const { return m_noMappingMessage; }
    bool IsStaticInitialisationMode() const { return m_staticInitialisationMode; }
    bool IsUpdatingData() const { return m_updatingData; }

    // Writes "[COmnistarHPStatusWord]:" and the flags, one line.
    void Print(std::ostream& out = std::cout) const;

private:
    uint32_t m_rawWord = 0;
    bool m_subscriptionExpired = false;
    bool m_outOfRegion = false;
    bool m_wetError = false;
    bool m_linkError = false;
    bool m_noMeasurements = false;
    bool m_noEphemeris = false;
    bool m_noInitialPosition = false;
    bool m_noTimeSet = false;
    bool m_velocityError = false;
    bool m_noBaseStations = false;
    bool m_noMappingMessage = false;
    bool m_staticInitialisationMode = false;
    bool m_updatingData = false;
};

// The OmniSTAR HP additional status word. The receiver sets the convergence
// and authorisation bits when the condition does NOT hold, so those flags are
// true when their bit is clear.
class COmnistarHPAdditionalStatusWord {
public:
    explicit COmnistarHPAdditionalStatusWord(uint16_t word = 0) { Decode(word); }

    // Keeps the word and extracts its flags.
    void Decode(uint16_t word);

    uint16_t GetRawWord() const { return m_rawWord; }
    bool IsSolutionConverged() const { return m_solutionConverged; }
    bool IsSatelliteListAvailable() const { return m_satelliteListAvailable; }
    bool IsHPAuthorised() const { return m_hpAuthorised; }
    bool IsXPAuthorised() const { return m_xpAuthorised; }

    // Writes "[COmnistarHPAdditionalStatusWord]:" and the flags, one line.
    void Print(std::ostream& out = std::cout) const;

private:
    uint16_t m_rawWord = 0;
    bool m_solutionConverged = false;
    bool m_satelliteListAvailable = false;
    bool m_hpAuthorised = false;
    bool m_xpAuthorised = false;
};
