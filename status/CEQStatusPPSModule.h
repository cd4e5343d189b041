#ifndef TLG_STATUS_CEQSTATUSPPSMODULE_H
#define TLG_STATUS_CEQSTATUSPPSMODULE_H

#include "framework/PPSFileBase.h"
#include "model/SettingRecords.h"
#include "model/SourcesNameIdMap.h"

class StructuredWrite;

/// Publishes the settings that the MCU has accepted as attributes of the EQ status object. Each publisher
/// writes the attribute that it owns whole, in one write.
///
/// The controller owns it; the update cycle calls it, on the multiplexer's thread. It keeps no state.
/// A publisher that rejects an argument logs that, writes nothing and returns 0. It returns 0 as well when
/// the write failed, and otherwise 1.
class CEQStatusPPSModule : public TLG::ZOCAR::PPSFileBase {
public:
    explicit CEQStatusPPSModule(TLG::ZOCAR::IPPSOnChange* callback);

    // ---- Structured values ----
    int PublishVolume(int current, int max, unsigned char sysMute, unsigned char srcMute, int maxPower);
    /// The source volumes and the extended volumes, in one write.
    int PublishAllVol(const T_SRC_VOL& srcVol, T_CARPLAY_VOLUME extraVol);
    /// Each of the two alone; the update cycle writes both together.
    int PublishSrcVol(const T_SRC_VOL& srcVol);
    int PublishExtendInfo(T_CARPLAY_VOLUME extraVol);
    int PublishFadeBal(int ff, int fr, int bl, int br);
    /// @param phase 0 or 180 degrees; @param filter 0 to 4
    int PublishSubwoofer(unsigned char on, int phase, int filter);
    int PublishSpeakerMode(int mode, int channel);
    /// @param cutoff 0 to 7
    int PublishFrontFilter(unsigned char on, int cutoff);
    int PublishRearFilter(unsigned char on, int cutoff);
    int PublishSrcGain(const tagSourceParam& src);

    // ---- Integers ----
    int PublishSubWGain(int gain);
    int PublishCenterGain(int gain);
    int PublishListenPos(int pos);
    int PublishSRS(int srs);
    int PublishALC(unsigned char alc);

    // ---- Words ----
    int PublishLoud(int on);
    int PublishDBB(int on);
    int PublishAudioMix(unsigned char mix);
    /// @param state 0 bad, 1 ready
    int PublishAudioICStatus(int state);
    /// @param type 0 to 6
    int PublishEqType(int type);

private:
    /// @param word null for a code that has none
    int PublishWord(int attribute, const char* word) const;
    struct FilterRule;
    int PublishFilter(const FilterRule& rule, unsigned char on, int cutoff);
    int PublishInt(int attribute, int value) const;
    int WriteVolumes(const char* function, StructuredWrite& write) const;

    const char* m_pObjectName;
    TLG::ZOCAR::SourcesNameIdMap m_sources; // read-only after construction
};

#endif
