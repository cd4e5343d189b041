#include <gtest/gtest.h>

#include "model/CEQData.h"
#include "tests/support/CapturedLog.h"

namespace {

// Which settings raise which flags, and for a change only, shows in what the update cycle publishes.
TEST(Store, ComparesCurvesByGainFreqAndQ) {
    CEQData data;
    std::vector<tagEQBand> bands{{1, 0, 1, 1.0}, {2, 3, 1, 1.0}, {3, 6, 1, 1.0}, {4, 9, 1, 1.0}, {5, 12, 1, 1.0}};
    data.SetEqDataByIndex(6, bands);
    data.SetUpdateEqFlagByBitID(false, 7);
    bands[4].QIndex = 4;
    data.SetEqDataByIndex(6, bands);
    EXPECT_FALSE(data.GetUpdateEqFlagByBitID(7)) << "the Q index alone is no change";
    bands[4].Q = 2.0;
    data.SetEqDataByIndex(6, bands);
    EXPECT_TRUE(data.GetUpdateEqFlagByBitID(7));
    EXPECT_EQ(data.GetEqTypeDate().Band[6][4].Q, 2.0);
}

TEST(Store, RefusesWhatIsOutOfRange) {
    CEQData data;
    TakeLog();
    tagSourceParam tooMany;
    tooMany.Count = 33;
    data.SetCenterGainData(13);
    data.SetSrcGainData(tooMany);
    data.SetEqDataByIndex(7, {});
    data.SetEqDataByIndex(-1, {});
    data.SetEqDataByIndex(0, {});
    EXPECT_FALSE(data.SetEqTypeNumData(8));
    EXPECT_FALSE(data.SetEqTypeNumData(-1));
    EXPECT_TRUE(data.SetEqTypeNumData(7));
    tagSpeaker unknown;
    unknown.tSrcVol.ChangeStatus = 3;
    data.SetVolumeData(unknown);
    EXPECT_EQ(data.GetVolumeData().tSrcVol.ChangeStatus, 2);
    EXPECT_FALSE(data.GetUpdateCenterGainFlag() || data.GetUpdateSrcGainFlag() || data.GetUpdateLaunchVolumeFlag());
    EXPECT_EQ(TakeErrors(),
              "_Melvane_[SetCenterGainData]-ERR: centerGain is 13, the interval is 0 ~ 12\n"
              "_Melvane_[SetSrcGainData]-the sources' number: 33, it is bigger than he size of array: 32.\n"
              "_Melvane_[SetEqDataByIndex]-nIndex = 7, the interval is 0 ~ 6\n"
              "_Melvane_[SetEqDataByIndex]-nIndex = -1, the interval is 0 ~ 6\n"
              "_Melvane_[SetEqDataByIndex]-eqBand.size is 0, not equal to 5\n"
              "_Melvane_[SetEqTypeNumData]-CEQData, wrong type num(0 ~ 7): 8\n"
              "_Melvane_[SetEqTypeNumData]-CEQData, wrong type num(0 ~ 7): -1\n"
              "_Melvane_[SetVolumeData]-CEQData, unknown volume change status(0 or 1): 3");
}

} // namespace
