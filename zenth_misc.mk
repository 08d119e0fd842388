# The misc hardware service, for a device's product makefile:
#   $(call inherit-product, vendor/zenth/hardware/misc/zenth_misc.mk)

PRODUCT_PACKAGES += \
    vendor.zenth.hardware.ZenthMisc-V1-service \
    ueventd.zenth_misc.rc

BOARD_VENDOR_SEPOLICY_DIRS += vendor/zenth/hardware/misc/sepolicy

# The framework side of the service's VINTF fragment: without it check_vintf rejects the
# device manifest.
DEVICE_PRODUCT_COMPATIBILITY_MATRIX_FILE += \
    vendor/zenth/hardware/misc/aidl/compatibility_matrix.zenth_misc.xml
