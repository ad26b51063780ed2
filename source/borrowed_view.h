#pragma once

#include "c4d.h"

// What a guide capture borrows from the document and its views, each put back when the guard ends.
namespace quillmere {

// The document's scene camera.
class BorrowedDocumentCamera {
 public:
  // Asks for `camera`; whether the host took it is `taken()`. Without that there is nothing to put back.
  BorrowedDocumentCamera(cinema::BaseDocument& document, cinema::BaseObject* camera);
  ~BorrowedDocumentCamera();
  BorrowedDocumentCamera(const BorrowedDocumentCamera&) = delete;
  BorrowedDocumentCamera& operator=(const BorrowedDocumentCamera&) = delete;

  bool taken() const { return taken_; }

 private:
  cinema::BaseDocument& document_;
  cinema::BaseObject* former_;
  bool taken_;
};

// A view that looks through `camera` and draws everything with quick shading.
class BorrowedView {
 public:
  BorrowedView(cinema::BaseDraw& view, cinema::BaseDocument& document, cinema::BaseObject* camera);
  ~BorrowedView();
  BorrowedView(const BorrowedView&) = delete;
  BorrowedView& operator=(const BorrowedView&) = delete;

 private:
  cinema::BaseDraw& view_;
  cinema::GeData formerActiveMode_;
  cinema::GeData formerInactiveMode_;
  cinema::BaseObject* formerCamera_;
};

}  // namespace quillmere
