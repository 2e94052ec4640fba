// A queue store and, beside it, a simple model of what it holds.
#pragma once

#include <cstdint>
#include <vector>

class YraRW;

class StoreModel {
 public:
  static constexpr int kTypes = 7;

  enum Operation : uint8_t {
    kPush,
    kFront,
    kPopFront,
    kPop,
    kClear,
    kReset,
    kGetAll,
    kGetAllPop,
    kCreateAnother,
    kOperations
  };

  // One thing to do. Every value of a field means something.
  struct Step {
    uint8_t operation;  // an Operation, counted around
    uint8_t type;       // 1 to 7 and, counted around, the unknown 0 and 8
    uint8_t key;        // an index into the keys that the model knows, counted around
    uint8_t lie;        // in a pushed record's size: 1 empty, 2 as large as can be, up to 16 that
                        // many bytes too many; else it says the truth
    uint8_t failing;    // which allocation of the call finds no memory; 0: none
    uint16_t length;    // of a pushed element, and of its name
  };

  StoreModel();
  ~StoreModel();
  StoreModel(const StoreModel&) = delete;
  StoreModel& operator=(const StoreModel&) = delete;

  // Does a step to both and compares all that can be seen of the store with the model. Answers what
  // differs, or null.
  const char* Do(const Step& step);

  // Steps so far that met the failing allocation they asked for.
  int Failures() const { return m_failures; }

 private:
  struct Element {
    int key;
    unsigned char* data;
    unsigned int weight;
  };
  using Elements = std::vector<Element>;

  void Expect(bool holds, const char* what);
  unsigned char* NewElement(const Step& step);
  Elements::iterator Find(int type, int key);

  void Push(int type, int key, const Step& step);
  void Access(Operation operation, int type, int key);
  void Clear(int type, bool all);
  void Leave(const class AllocationWatch& watch, int type, bool released);
  void GetAll(int type, int failing);
  void GetAllPop(int type, int failing);
  void CreateAnother(int failing);

  void CompareBlock(int type, unsigned int ret, const unsigned char* data);
  void CompareAll();

  YraRW* m_store = nullptr;
  Elements m_elements[kTypes + 1];  // by type; the map's by ascending key
  uint16_t m_serial = 0;
  int m_failures = 0;
  const char* m_difference = nullptr;
};
