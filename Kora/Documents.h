// Kora/Documents.h: everything of documents: streams, lists, the table of contents, safe saving, checking and
// repair, and the maps of a song in a document.
#pragma once

#include "Kora/FF/Document/FF_Document.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Document/FF_Document_TOCKey.h"
#include "Kora/FF/Document/FF_Document_TOCValue.h"
#include "Kora/FF/Document/FF_SafeSave.h"
#include "Kora/FF/Document/FF_StSetStreamContext.h"
#include "Kora/FF/Document/FF_StreamHeader.h"
#include "Kora/FF/Document/FF_StreamList.h"
#include "Kora/FF/Format/FF_EncryptionType.h"
#include "Kora/FF/Format/FF_FileBasedEncrytpedStreams.h"
#include "Kora/FF/Format/FF_FileBasedSimpleEncryptedInStream.h"
#include "Kora/FF/Format/FF_FileBasedSimpleEncryptedOutStream.h"
#include "Kora/FF/Rescue/FF_DocumentCheck.h"
#include "Kora/FF/Rescue/FF_DocumentRepair.h"
#include "Kora/FF/Rescue/FF_StreamInfo.h"
#include "Kora/FF/Song/FF_TimeMaps.h"
