// Ndo_StOperationRecorder: records what happens in a scope as one operation, or rolls it back.
//
//     Ndo_StOperationRecorder recorder;
//     …                                                   // leaving here, by return or throw, undoes it
//     undoList.push_back(recorder.OperationComplete());   // from here on it is a step that can be undone
//
// Recorders do not nest: a second one inside the first asserts "mRecordingOpP == 0", and afterwards nobody
// records. From a listener of a restore that is recorded it is the same, but the outer recorder goes on
// afterwards; a listener whose step is one of its own says so with an Ndo_StDisableRecording around it.
// Threads:   the application's model thread.
// Ownership: owns its operation until OperationComplete.
#pragma once

#include "Export/Kora_API.h"

#include <memory>

class Ndo_Operation;

class KORA_API_NODISCARD Ndo_StOperationRecorder
{
public:
    Ndo_StOperationRecorder();
    Ndo_StOperationRecorder(const Ndo_StOperationRecorder&) = delete;
    Ndo_StOperationRecorder& operator=(const Ndo_StOperationRecorder&) = delete;
    // Work that was not completed is restored. An exception from that ends here, as an assertion ("Restore
    // threw an exception"), and what is left of the operation is freed.
    ~Ndo_StOperationRecorder();

    // Ends the recording and gives the operation away. Called again, asserts "mOpP != 0" and gives null.
    std::unique_ptr<Ndo_Operation> OperationComplete();
    // Takes back what OperationComplete gave away just now, because nobody could keep it: the recording goes on.
    void Resume(std::unique_ptr<Ndo_Operation> iOperation);

private:
    std::unique_ptr<Ndo_Operation> mOpP;
    Ndo_Operation* mDisplacedOp;
};
