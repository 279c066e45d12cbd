// Tool_Overwrite: keeps outputs without notes and without other streams from the place of files that have them,
// and outputs of one kind from names of another.
//
// A file that cannot be read, and one whose contents cannot be understood, is replaced like any other.
#pragma once

#include <initializer_list>
#include <string>

class Tool_Input;

// Throws Tool_UsageError where a MIDI file with notes, or a document with more than a song, has the name:
// "the document would take the place of "a.mid", which has notes, expected another file".
void Tool_CheckHoldsNoMore(const std::string& iOutput, const std::string& iWhat);
// The same, and for the input itself, whatever it holds.
void Tool_CheckOverwrite(const Tool_Input& iInput, const std::string& iOutput, const std::string& iWhat);

// Throws Tool_UsageError for a name with one of the endings: "-o "a.pdf", expected a name in .svg or .png".
void Tool_CheckEnding(const std::string& iOutput, std::initializer_list<const char*> iOfOthers,
                      const char* iOurs);
