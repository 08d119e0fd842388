# The misc hardware service, for a device's product makefile:
#   $(call inherit-product, vendor/zenth/hardware/misc/zenth_misc.mk)

PRODUCT_PACKAGES += vendor.zenth.hardware.ZenthMisc-V1-service

BOARD_VENDOR_SEPOLICY_DIRS += vendor/zenth/hardware/misc/sepolicy

# The framework side of the service's VINTF fragment: without it check_vintf rejects the
# device manifest.
DEVICE_PRODUCT_COMPATIBILITY_MATRIX_FILE += \
    vendor/zenth/hardware/misc/aidl/compatibility_matrix.zenth_misc.xml

# ueventd reads one vendor file, /vendor/etc/ueventd.rc, and this installs the fragment as
# that file. A board that ships its own sets ZENTH_MISC_BOARD_UEVENTD := true before
# inheriting this makefile and appends aidl/ueventd.zenth_misc.rc to its file instead.
ifneq ($(ZENTH_MISC_BOARD_UEVENTD),true)
PRODUCT_COPY_FILES += \
    vendor/zenth/hardware/misc/aidl/ueventd.zenth_misc.rc:$(TARGET_COPY_OUT_VENDOR)/etc/ueventd.rc
endif
