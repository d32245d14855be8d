// Included after a header of ours: fails to compile where Xlib's macros came along with it. They would eat names
// such as MethodResult::Success in whatever an application includes next. (Included once per file, so no guard.)

#if defined(Success) || defined(None) || defined(Status) || defined(Bool) || defined(True) || defined(Always)
#error "a header of ours includes Xlib"
#endif
