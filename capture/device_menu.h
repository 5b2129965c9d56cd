#pragma once
// The device menu: the drop-down of the button "device" of the device toolbar. Each entry's
// tag is a device kind or a command word; its key holds the device index after a letter.

namespace zr {

class Program;

// Fills the menu: drivers, control-kind devices, streams, IP cameras and the command words.
void BuildDeviceMenu(Program& program);

}  // namespace zr
