#include "Kora/SDS/Source/SDS_Producer_p.h"

#include "OstrelPlatformSupport/PSThreadSlot_p.h"

#include <deque>

namespace {

constexpr int cProducers = 64;

// Stays reachable until the process ends, so leak checkers know it. Null where the ends of threads go unnoticed.
std::deque<SDS_Producer>* sProducers = nullptr;

// The last of them, always busy: of the threads that came when all were taken, which do not look again.
SDS_Producer* sNobodys = nullptr;

} // namespace

void SDS_Producer::Open(SDS_TokenPool& ioPool)
{
    auto producers = std::make_unique<std::deque<SDS_Producer>>();
    for (int i = 0; i <= cProducers; ++i)
        producers->emplace_back(ioPool);
    sNobodys = &producers->back();
    sNobodys->mIsTaken = true;
    sNobodys->mIsBusy = true;
    if (PSThreadSlot::Open(EndThread)) sProducers = producers.release();
}

void SDS_Producer::GiveUpRetired(Cmn_UInt32 iRetired)
{
    mRetiredSeen = iRetired;
    GiveBackUses();
}

SDS_Producer* SDS_Producer::TakeFree()
{
    if (sProducers == nullptr) return nullptr;
    for (SDS_Producer& producer : *sProducers) {
        // Looked at first, so that the lines of those that are taken stay with their threads.
        if (producer.mIsTaken.load(std::memory_order_relaxed) || producer.mIsTaken.exchange(true)) continue;
        if (PSThreadSlot::Set(&producer)) return &producer;
        producer.mIsTaken.store(false);
        return nullptr;
    }
    return PSThreadSlot::Set(sNobodys) ? sNobodys : nullptr;
}

void SDS_Producer::EndThread(void* iProducer)
{
    SDS_Producer& producer = *static_cast<SDS_Producer*>(iProducer);
    if (&producer == sNobodys) return;
    producer.GiveBackUses();
    producer.mCells.Flush();
    producer.Leave(); // a thread may end within a dispatch, in a host's event
    producer.mIsTaken.store(false);
}

void SDS_Producer::GiveBack()
{
    SDS_Producer* const producer =
        sProducers != nullptr && PSThreadSlot::Get() != nullptr ? Enter() : nullptr;
    if (producer == nullptr) return;
    producer->GiveBackUses();
    producer->mCells.Flush();
    producer->Leave();
}

void SDS_Producer::GiveBackUses()
{
    for (Place& place : mPlaces)
        place.GiveBack();
}
