package vendor.zenth.hardware.misc;

@VintfStability
parcelable ZenthMiscStatus {
    int status;
}
