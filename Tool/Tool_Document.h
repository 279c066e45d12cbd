// Tool_Document: a document on its way in or out of the command.
#pragma once

#include "Kora/FF/Document/FF_Document.h"

#include <memory>
#include <string>

class Tool_Input;
class Tool_Song;

// Whether the bytes say of themselves that they are a document, of whatever version.
bool Tool_IsDocument(const Tool_Input& iInput);
// Throws Tool_InputError for a MIDI file, which is what people give most often where a document is expected.
void Tool_RefuseMidi(const Tool_Input& iInput);
// Throws Tool_InputError for a file that is no document, and what opening throws. The input must outlive it.
std::unique_ptr<FF_Document> Tool_OpenDocument(const Tool_Input& iInput);
// What a stream's number stands for: "meter map"; empty for one that is not known.
std::string Tool_StreamTypeName(Cmn_Int16 iStreamType);
// The entries of the table that belong to no song.
Cmn_Int32 Tool_CountOtherEntries(const FF_Document& iDocument);

// Writes the song as a document in the place of what was there, by a safe save; returns what there is to say
// of it: "4 streams, 1234 bytes, not scrambled".
std::string Tool_SaveSong(const Tool_Song& iSong, const std::string& iName, EFF_EncryptionType iType);
// The document itself, for a pipe.
std::string Tool_SongBytes(const Tool_Song& iSong, EFF_EncryptionType iType);
// The same of a document that is there, with all that is in it beside its song.
std::string Tool_WithSong(std::string iDocument, const Tool_Song& iSong);
// "not scrambled", "scrambled (type 2)"
std::string Tool_ScramblingText(EFF_EncryptionType iType);

// Does iWork; what the library throws from it names the file.
template <class Work>
auto Tool_NamingFile(const std::string& iName, Work iWork)
{
    try {
        return iWork();
    } catch (Cmn_Exception& exception) {
        if (exception.GetFile().empty()) exception.SetFile(iName);
        throw;
    }
}
