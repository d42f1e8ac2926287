// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>

namespace lumivastor::x11 {

/// The atoms of the window managers' conventions (EWMH, ICCCM) that this program uses.
enum class XAtom {
    netSupportingWmCheck,
    netClientListStacking,
    netWmName,
    netWmPid,
    netWmState,
    netWmStateHidden,
    netWmStateAbove,
    netWmWindowType,
    typeDesktop,
    typeDock,
    typeToolbar,
    typeMenu,
    typeUtility,
    typeSplash,
    typeDialog,
    typeDropdownMenu,
    typePopupMenu,
    typeTooltip,
    typeNotification,
    typeCombo,
    typeDnd,
    typeNormal,
    wmState,
    gtkFrameExtents,
    rootPixmap,
    compositingManager,
    timeProbe,
};

inline constexpr std::array kAtomNames{
    "_NET_SUPPORTING_WM_CHECK",
    "_NET_CLIENT_LIST_STACKING",
    "_NET_WM_NAME",
    "_NET_WM_PID",
    "_NET_WM_STATE",
    "_NET_WM_STATE_HIDDEN",
    "_NET_WM_STATE_ABOVE",
    "_NET_WM_WINDOW_TYPE",
    "_NET_WM_WINDOW_TYPE_DESKTOP",
    "_NET_WM_WINDOW_TYPE_DOCK",
    "_NET_WM_WINDOW_TYPE_TOOLBAR",
    "_NET_WM_WINDOW_TYPE_MENU",
    "_NET_WM_WINDOW_TYPE_UTILITY",
    "_NET_WM_WINDOW_TYPE_SPLASH",
    "_NET_WM_WINDOW_TYPE_DIALOG",
    "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU",
    "_NET_WM_WINDOW_TYPE_POPUP_MENU",
    "_NET_WM_WINDOW_TYPE_TOOLTIP",
    "_NET_WM_WINDOW_TYPE_NOTIFICATION",
    "_NET_WM_WINDOW_TYPE_COMBO",
    "_NET_WM_WINDOW_TYPE_DND",
    "_NET_WM_WINDOW_TYPE_NORMAL",
    "WM_STATE",
    "_GTK_FRAME_EXTENTS",
    "_XROOTPMAP_ID",
    "_NET_WM_CM_S0",
    "_LUMIVASTOR_TIME",
};

static_assert(kAtomNames.size() == static_cast<std::size_t>(XAtom::timeProbe) + 1);

}  // namespace lumivastor::x11
