#include "Kora/Cnn/Cnn_ListenerMessageReceiver.h"

Cnn_ListenerMessageReceiver::~Cnn_ListenerMessageReceiver() = default;
