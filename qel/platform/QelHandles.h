#pragma once

// Opaque stand-ins for the host's Windows handle types, so that public headers compile unchanged
// off Windows. The library never looks inside them; it only passes them back to the host.
#if defined(_WIN32)
#  include <windows.h>
#  include <oaidl.h>
class CWnd;
class CFrameWnd;
#else
struct HWND__;
struct HGLRC__;
struct HINSTANCE__;
struct HBITMAP__;
struct HDC__;
/// Host window handle.
typedef HWND__* HWND;
/// OpenGL rendering context of the host.
typedef HGLRC__* HGLRC;
/// Module instance (a loaded program or library).
typedef HINSTANCE__* HINSTANCE;
/// Module handle; the same thing as an instance.
typedef HINSTANCE HMODULE;
/// Host bitmap handle.
typedef HBITMAP__* HBITMAP;
/// Device context handle.
typedef HDC__* HDC;
/// The host's window class (its main frame and views); opaque to the library.
class CWnd;
/// The host's frame window class; opaque to the library.
class CFrameWnd;
/// The host's scripting interface; opaque to the library.
struct IDispatch;
#endif
