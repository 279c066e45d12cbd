// Kora/Messages.h: everything of messages between objects of one thread: listener lists,
// receivers, dispatch tables.
#pragma once

#include "Kora/Cnn/Cnn_DispatchTable.h"
#include "Kora/Cnn/Cnn_DispatchTableRegistry.h"
#include "Kora/Cnn/Cnn_Dispatcher.h"
#include "Kora/Cnn/Cnn_ListenerList.h"
#include "Kora/Cnn/Cnn_ListenerMessage.h"
#include "Kora/Cnn/Cnn_ListenerMessageReceiver.h"
#include "Kora/Cnn/Cnn_ListenerRegistry.h"
#include "Kora/Cnn/Cnn_Receiver.h"
#include "Kora/Cnn/Mdl_SimpleValMessage.h"
#include "Kora/Cnn/Msg_ObjBase.h"
#include "Kora/Cnn/Msg_Receiver.h"
