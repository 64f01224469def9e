################################################################################
#
# libdravik
#
################################################################################

LIBDRAVIK_VERSION = 0.1.0
LIBDRAVIK_SITE = $(BR2_EXTERNAL_LIBDRAVIK_PATH)/../..
LIBDRAVIK_SITE_METHOD = local
LIBDRAVIK_LICENSE = MIT
LIBDRAVIK_LICENSE_FILES = LICENSE
LIBDRAVIK_INSTALL_STAGING = YES
LIBDRAVIK_DEPENDENCIES = alsa-lib freetype jpeg libmad
LIBDRAVIK_CONF_OPTS = \
	-DDRAVIK_SIM=OFF \
	-DDRAVIK_TOOLS=OFF \
	-DDRAVIK_EXAMPLES=OFF \
	-DDRAVIK_TESTS=OFF \
	-DDRAVIK_WERROR=OFF

$(eval $(cmake-package))
