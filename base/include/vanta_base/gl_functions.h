// `GlFunctions` finds functions of OpenGL by their names: the one loader, for tables that list what a library uses.
#pragma once

namespace vanta {

// A table derives from it and lists its functions, one a line:
//   struct GlApi : GlFunctions {
//     using GlFunctions::GlFunctions;
//     PFNGLFLUSHPROC Flush = Find("glFlush");
//   };
// That a function is found does not tell that the driver has it: eglGetProcAddress answers for any name. Before one is
// called that is not of the context's version, ask for its extension.
// Threads: any.
class GlFunctions {
 public:
  // The function's address by its name, null where there is none: eglGetProcAddress or what asks it.
  using Resolver = void *(*)(const char *name);

  explicit GlFunctions(Resolver resolver) : resolver_(resolver) {}

  // The first function that was not found; null: none is missing.
  const char *Missing() const { return missing_; }

 protected:
  // An address that becomes any type of function.
  class Found {
   public:
    explicit Found(void *address) : address_(address) {}
    template <typename Function>
    operator Function *() const {
      return reinterpret_cast<Function *>(address_);
    }

   private:
    void *address_;
  };

  Found Find(const char *name);

 private:
  Resolver resolver_;
  const char *missing_ = nullptr;
};

}  // namespace vanta
