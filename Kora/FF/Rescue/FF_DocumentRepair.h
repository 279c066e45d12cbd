// FF_DocumentRepair: brings back what a damaged document still holds.
//
// Outermost streams that are whole are taken with all they hold. Of a damaged one, or of one whose writing
// was interrupted, what is whole inside is taken, as outermost streams under the keys that they had.
//
//   what comes back           from where
//   bytes of streams          copied; headers tell their place, so that their sums are made anew
//   keys of nested streams    types and list indexes of the headers around them, where no table is left
//   descriptions, pieces      a table whose sums are right: the one that the header names,
//   or else the last one found
//   list items                the table; without it those with a header of their own
//   streams that were moved   their sums tell where they were written: they are what they
//                             were, wherever they stand
//   byte order, mask type     the file's; where its own do not lead to a sound header, those that do (all are
//                             tried); where none does, those in which most streams are whole
//
// Memory:  a small multiple of the file's size at most. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_FileLoc.h"
#include "Kora/FF/Document/FF_Document.h"
#include "Kora/FF/Rescue/FF_StreamInfo.h"

class KORA_API FF_DocumentRepair
{
public:
    struct Report
    {
        Cmn_Int32 mRecovered = 0;          // document streams, nested ones included
        Cmn_Int32 mWithoutDescription = 0; // of them: entries that were rebuilt, since no table tells of them
        bool mHadTOC = false;              // an old table with a right sum lent descriptions and pieces
        std::vector<FF_StreamInfo> mStreams; // all headers that were taken, at their place in the new file
        // What of the file header and the header stream was damaged, and what was taken in its place.
        std::vector<FF_Fault> mHeader;
        // Stretches of the old file that hold no whole stream, with what seems to have been there; entries of
        // the table and list items that cannot come back; older versions of streams.
        std::vector<FF_Fault> mLost;
    };
    // Writes what is wholly there to iTo, with a new table, by a safe save; iTo may be iFrom. Throws where
    // iFrom cannot be read or iTo not be written; never for damage. Where nothing came back, iTo becomes a
    // document without streams, or with iEvenIfEmpty false stays as it was.
    //
    // Every document stream that is copied is reached through the new table, but for those that were written
    // anew, and lists that share a key with another: lost names them. FF_DocumentCheck finds no fault in the
    // new file, unless a whole stream was written with headers in it whose frames cross.
    //
    // Where a damaged header hides which stream those behind it were in, and no table tells, they are
    // taken for streams of what is around it, or for outermost ones; items of a list that is not
    // found are outermost ones, behind all others of their key. lost names the places. Without a
    // table, of several streams of one key the newest, the one that was written last, is value 0, the
    // others are further values; lost names them, and the nested streams that an outermost one may
    // have been written in place of.
    [[nodiscard]] static Report Repair(const Sys_FileLoc& iFrom, const Sys_FileLoc& iTo,
                                       bool iEvenIfEmpty = true);
};
