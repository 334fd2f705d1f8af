// zorutils: the umbrella header. Includes every public header of the library
// and of its foundation library zorfutls (with <windows.h>), so a host needs
// only this one. Internal headers (zorutils/internal/, *_impl.h and the promo
// player's Blend.h and PromoInternal.h) are not part of the interface and
// are not included.
//
// Conventions: texts are UTF-16 (wchar_t) unless a name ends in A or says
// SingleByte; capacities of text buffers count wchar_t code units (each
// declaration says whether the terminator is included, and whether over-long
// input is cut or refused; it is never written past a buffer); failures come
// back as results (false, -1, null, empty output) and nothing throws across
// the DLL boundary.
#pragma once

#include <zorfutls/zorfutls.h>

#include <zorutils/Export.h>

// Text primitives
#include <zorutils/text/COMString.h>
#include <zorutils/text/HtmlEntities.h>
#include <zorutils/text/Locks.h>
#include <zorutils/text/StringUtils.h>

// Containers
#include <zorutils/containers/ArrayList.h>
#include <zorutils/containers/ByteQueue.h>
#include <zorutils/containers/DynArray.h>
#include <zorutils/containers/HashTable.h>
#include <zorutils/containers/MyList.h>
#include <zorutils/containers/Observer.h>
#include <zorutils/containers/StringLists.h>

// Text file formats
#include <zorutils/formats/DelimitedTextFile.h>
#include <zorutils/formats/IniFileReader.h>
#include <zorutils/formats/XMLValue.h>
#include <zorutils/formats/XMLNode.h>
#include <zorutils/formats/XMLFile.h>

// Localised strings
#include <zorutils/strings/LanguageStrings.h>

// Promo script player
#include <zorutils/promo/PromoScript.h>

// Online music lookup
#include <zorutils/lookup/MusicLookup.h>

// Undo
#include <zorutils/undo/UndoMgr.h>

// Windows user-interface helpers
#include <zorutils/ui/DialogResources.h>
#include <zorutils/ui/Dialogs.h>
#include <zorutils/ui/LinkControl.h>
#include <zorutils/ui/WindowGeometry.h>
#include <zorutils/ui/ShortcutReader.h>
#include <zorutils/ui/ExplorerTree.h>

// Files, folders and system information
#include <zorutils/system/Browsers.h>
#include <zorutils/system/ClipboardFiles.h>
#include <zorutils/system/Drives.h>
#include <zorutils/system/FileNames.h>
#include <zorutils/system/FileTimes.h>
#include <zorutils/system/Paths.h>
#include <zorutils/system/RegistryStrings.h>
#include <zorutils/system/SystemInfo.h>

// Product catalogue and cross-promotion
#include <zorutils/catalogue/Catalogue.h>
