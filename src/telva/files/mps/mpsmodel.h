// The staging model of an MPS file: everything the MPS reader finds and the MPS writer needs,
// held apart from a task. The reader fills it and the writer prints it; moving it into a task
// (and taking it out of one) goes through the task's put and get functions in a separate step,
// so that both directions work on the same plain data.
//
// Conventions match the task's problem store: bound keys TVA_BK_*, infinite bounds are
// -1e30 / +1e30 and stand in the slots of absent bounds, A is column-wise, quadratic terms are
// lower-triangle triplets of 1/2 x'Qx, sorted by (column, row) with duplicates merged.
#pragma once

#include "cpub/sysalloc.h"
#include "cpub/sysenv.h"

namespace telva {

constexpr double kMpsInf = 1.0e30;

// Names of one class, kept in one pool of NUL-terminated strings with a hashed index so that
// a name is found in constant time. Names need not be unique: find gives the first index.
class MpsNames {
public:
  explicit MpsNames(sysenv* sys);
  int32 size() const { return static_cast<int32>(start_.size()); }
  const char* get(int32 i) const { return pool_.data() + start_[i]; }
  // Appends a name and gives its index.
  int32 add(const char* name);
  // Index of the first entry with that name, or -1.
  int32 find(const char* name) const;
  // Keeps the entries whose keep flag is set, in order.
  void compact(const SysVector<char>& keep);
  void clear();

private:
  void rehash(size_t slots);
  void insert_index(int32 i);
  SysVector<char> pool_;
  SysVector<int64> start_;
  SysVector<int32> slots_; // open addressing, -1 empty
};

// Quadratic terms of one function: lower-triangle triplets (subi >= subj).
struct MpsQuad {
  explicit MpsQuad(sysenv* sys)
      : subi(SysAllocator<int32>(sys)), subj(SysAllocator<int32>(sys)),
        val(SysAllocator<double>(sys)) {}
  SysVector<int32> subi, subj;
  SysVector<double> val;
  int64 size() const { return static_cast<int64>(val.size()); }
  // Sorts by (subj, subi) and adds up repeated positions.
  void normalize();
};

struct MpsModel {
  explicit MpsModel(sysenv* sys);

  sysenv* sys;
  SysString task_name;
  SysString obj_name; // name of the objective row
  int32 sense = 0;    // TVA_OBJECTIVE_SENSE_*
  double cfix = 0.0;
  // The objective row name given by an OBJNAME section, if any: the task keeps it in its
  // TVA_SPAR_READ_MPS_OBJ_NAME parameter after a read.
  SysString objname_section;

  MpsNames con_names;
  SysVector<int32> con_bk;
  SysVector<double> con_bl, con_bu;

  MpsNames var_names;
  SysVector<int32> var_bk;
  SysVector<double> var_bl, var_bu;
  SysVector<char> var_int; // 1 for an integer variable
  SysVector<double> c;

  // A by columns: entries of column j are a_ptr[j] .. a_ptr[j+1]-1.
  SysVector<int64> a_ptr;
  SysVector<int32> a_sub;
  SysVector<double> a_val;

  MpsQuad qobj;
  // Constraint quadratic terms, one function per constraint that has any.
  SysVector<int32> qcon_index; // constraint index, ascending
  SysVector<MpsQuad> qcon;

  MpsNames cone_names;
  SysVector<int32> cone_type; // TVA_CT_QUAD or TVA_CT_RQUAD
  SysVector<double> cone_par;
  SysVector<int64> cone_ptr; // members of cone k: cone_sub[cone_ptr[k] .. cone_ptr[k+1]-1]
  SysVector<int32> cone_sub;

  int32 numcon() const { return con_names.size(); }
  int32 numvar() const { return var_names.size(); }
  int32 numcone() const { return cone_names.size(); }
  int64 numanz() const { return a_ptr.empty() ? 0 : a_ptr.back(); }
  int32 numintvar() const;
  // Quadratic terms of constraint k, or null.
  const MpsQuad* qcon_of(int32 k) const;
  MpsQuad* qcon_of(int32 k);
  // Gives constraint k a quadratic function (empty if it had none).
  MpsQuad& qcon_make(int32 k);

  void clear();
  // Appends a constraint or a variable, giving its index.
  int32 add_con(const char* name, int32 bk, double bl, double bu);
  int32 add_var(const char* name, int32 bk, double bl, double bu, bool integer);
  // Removes the constraints with remove[i] set, with their A rows and quadratic terms.
  void remove_cons(const SysVector<char>& remove);
};

// Whether two models hold the same problem; *what names the first difference (for tests and
// diagnostics). With names off, names are not compared.
bool mpsmodel_equal(const MpsModel& a, const MpsModel& b, bool names, const char** what);

} // namespace telva
