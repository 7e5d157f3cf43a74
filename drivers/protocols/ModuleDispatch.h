// The start every serial module's parameter dispatch shares.
#pragma once

class ISensorController;

// Before start-up has succeeded no parameter reaches the module: 0, with
// "m_SensorStatus != ISensorController::InitSuccess!" logged. The scheme ids
// (500..504) go to the controller base, whose result is returned. -1: the id
// is the driver's to handle.
int dispatchSetToBase(ISensorController& owner, int id, int value);
int dispatchGetToBase(ISensorController& owner, int id, int& value);
