package vendor.zenth.hardware.misc;

import vendor.zenth.hardware.misc.ZenthMiscStatus;

@VintfStability
interface IZenthMisc {
    ZenthMiscStatus initialize();
    int isMiscNodeSupport(int deviceId, int nodeFlag);
    String miscReadNodeFile(int deviceId, int nodeFlag);
    int miscWriteNodeFile(int deviceId, int nodeFlag, String data);
    boolean saveCalibrationData(int type, in byte[] calibrationData, int length);
}
