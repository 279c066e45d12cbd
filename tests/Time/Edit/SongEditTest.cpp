#include "Kora/Time/Edit/Time_SongEdit.h"
