include $(sort $(wildcard $(BR2_EXTERNAL_LIBDRAVIK_PATH)/package/*/*.mk))
