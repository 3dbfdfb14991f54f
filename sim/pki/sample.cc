// A module of the simulator's own with one export: it is signed in every variant beside the
// stand-in modules, so the signing and its checks never depend on another part of the simulator.
extern "C" __declspec(dllexport) int SampleAnswer() { return 42; }
