// Kora/MIDI.h: everything of Standard MIDI files: reading and writing them, building tracks, and a
// song's maps from and to them.
#pragma once

#include "Kora/SMF/SMF_Event.h"
#include "Kora/SMF/SMF_Exception.h"
#include "Kora/SMF/SMF_File.h"
#include "Kora/SMF/SMF_TimeEdit.h"
#include "Kora/SMF/SMF_TimeEvents.h"
#include "Kora/SMF/SMF_TimeMaps.h"
#include "Kora/SMF/SMF_Track.h"
#include "Kora/SMF/SMF_TrackBuilder.h"
