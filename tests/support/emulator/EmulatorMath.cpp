// Linked into the unit tests only when cross-building for the device, whose
// unit tests run under qemu-ppc: the emulator (7.2) rejects the FPSCR
// instruction (mffsl) that the target glibc's double-precision sin, cos,
// tan, atan, atan2 and sincos execute, although real PowerPC cores treat it
// as a plain mffs. These stand-ins compute the same values through the
// long double functions, which do not use it. The daemon itself is unaffected.

extern "C" {

long double sinl(long double x);
long double cosl(long double x);
long double tanl(long double x);
long double atanl(long double x);
long double atan2l(long double y, long double x);

double sin(double x) { return static_cast<double>(sinl(x)); }
double cos(double x) { return static_cast<double>(cosl(x)); }
double tan(double x) { return static_cast<double>(tanl(x)); }
double atan(double x) { return static_cast<double>(atanl(x)); }
double atan2(double y, double x) { return static_cast<double>(atan2l(y, x)); }
void sincos(double x, double* s, double* c) {
    *s = static_cast<double>(sinl(x));
    *c = static_cast<double>(cosl(x));
}

}  // extern "C"
