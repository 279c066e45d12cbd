#include "Kora/Cnn/Cnn_ListenerMessage.h"

Cnn_ListenerMessage::~Cnn_ListenerMessage() = default;
