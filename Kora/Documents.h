// Kora/Documents.h: everything of documents: streams, lists, the table of contents, safe saving, checking and repair,
// and the maps of a song in a document.
#pragma once

#include "Kora/FF/FF_Document.h"
#include "Kora/FF/FF_DocumentCheck.h"
#include "Kora/FF/FF_DocumentRepair.h"
#include "Kora/FF/FF_Document_TOC.h"
#include "Kora/FF/FF_Document_TOCKey.h"
#include "Kora/FF/FF_Document_TOCValue.h"
#include "Kora/FF/FF_EncryptionType.h"
#include "Kora/FF/FF_FileBasedEncrytpedStreams.h"
#include "Kora/FF/FF_FileBasedSimpleEncryptedInStream.h"
#include "Kora/FF/FF_FileBasedSimpleEncryptedOutStream.h"
#include "Kora/FF/FF_SafeSave.h"
#include "Kora/FF/FF_StSetStreamContext.h"
#include "Kora/FF/FF_StreamHeader.h"
#include "Kora/FF/FF_StreamInfo.h"
#include "Kora/FF/FF_StreamList.h"
#include "Kora/FF/FF_TimeMaps.h"
