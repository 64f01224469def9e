SUMMARY = "Display, sound and board support for car dash cameras"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://${S}/LICENSE;md5=51a69fbfcdccc72af86d4921cce06b52"

# libmad is licensed under the GPL, version 2 or later.
DEPENDS = "alsa-lib freetype jpeg libmad"

inherit cmake externalsrc

# The sources that this layer is part of.
EXTERNALSRC = "${@os.path.abspath(os.path.join(d.getVar('THISDIR'), '../../../..'))}"
EXTERNALSRC_BUILD = "${WORKDIR}/build"

EXTRA_OECMAKE = " \
    -DDRAVIK_SIM=OFF \
    -DDRAVIK_TOOLS=OFF \
    -DDRAVIK_EXAMPLES=OFF \
    -DDRAVIK_TESTS=OFF \
    -DDRAVIK_WERROR=OFF \
    -DCMAKE_SKIP_INSTALL_RPATH=ON \
"

PACKAGES =+ "${PN}-tools"
FILES:${PN}-tools = "${bindir}/dravik-ctl ${datadir}/bash-completion"
RRECOMMENDS:${PN}-tools = "alsa-utils-amixer dosfstools"
