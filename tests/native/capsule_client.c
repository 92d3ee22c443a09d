/* The five positions of the capsule, one Python function each, in plain C. Results are handed on as they come: null
 * without an error becomes None. */
#include <orvane/capsule.h>

static const OrvaneCapsule* capsule;

static PyObject* object_or_none(PyObject* object) {
    return object != NULL || PyErr_Occurred() != NULL ? object : Py_NewRef(Py_None);
}

/* None stands for a null argument. */
static PyObject* object_or_null(PyObject* argument) {
    return argument == Py_None ? NULL : argument;
}

static PyObject* array_from_impl(PyObject* self, PyObject* address) {
    (void)self;
    void* impl = PyLong_AsVoidPtr(address);
    return PyErr_Occurred() != NULL ? NULL : object_or_none(capsule->arrayFromImpl(impl));
}

static PyObject* impl_of_array(PyObject* self, PyObject* object) {
    (void)self;
    void* impl = capsule->implOfArray(object_or_null(object));
    return impl == NULL ? object_or_none(NULL) : PyLong_FromVoidPtr(impl);
}

static int lastTypeCode;

static PyObject* array_from_buffer(PyObject* self, PyObject* object) {
    (void)self;
    lastTypeCode = -1;
    return object_or_none(capsule->arrayFromBuffer(object_or_null(object), &lastTypeCode));
}

/* What the last call of the function above left. */
static PyObject* last_type_code(PyObject* self, PyObject* unused) {
    (void)self;
    (void)unused;
    return PyLong_FromLong(lastTypeCode);
}

static PyObject* array_from_buffer_without_code(PyObject* self, PyObject* object) {
    (void)self;
    return object_or_none(capsule->arrayFromBuffer(object, NULL));
}

/* Makes an array that nobody else sees and destroys it at once. */
static PyObject* make_and_destroy(PyObject* self, PyObject* object) {
    (void)self;
    int typeCode;
    PyObject* array = capsule->arrayFromBuffer(object, &typeCode);
    if (array == NULL)
        return NULL;
    capsule->destroyArray(array);
    Py_RETURN_NONE;
}

/* For null and for what is no array, which must survive. */
static PyObject* try_to_destroy(PyObject* self, PyObject* object) {
    (void)self;
    capsule->destroyArray(object_or_null(object));
    Py_RETURN_NONE;
}

static PyObject* exports_buffer(PyObject* self, PyObject* object) {
    (void)self;
    return PyBool_FromLong(capsule->exportsBuffer(object_or_null(object)));
}

static PyObject* is_table_of_five_pointers(PyObject* self, PyObject* unused) {
    (void)self;
    (void)unused;
    void** table = (void**)PyCapsule_Import(ORVANE_CAPSULE_NAME, 0);
    if (table == NULL)
        return NULL;
    return PyBool_FromLong(sizeof(OrvaneCapsule) == 5 * sizeof(void*) && (const void*)table == (const void*)capsule);
}

static PyMethodDef methods[] = {
    {"array_from_impl", array_from_impl, METH_O, NULL},
    {"impl_of_array", impl_of_array, METH_O, NULL},
    {"array_from_buffer", array_from_buffer, METH_O, NULL},
    {"last_type_code", last_type_code, METH_NOARGS, NULL},
    {"array_from_buffer_without_code", array_from_buffer_without_code, METH_O, NULL},
    {"make_and_destroy", make_and_destroy, METH_O, NULL},
    {"try_to_destroy", try_to_destroy, METH_O, NULL},
    {"exports_buffer", exports_buffer, METH_O, NULL},
    {"is_table_of_five_pointers", is_table_of_five_pointers, METH_NOARGS, NULL},
    {NULL, NULL, 0, NULL},
};

static struct PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "capsule_client", NULL, -1, methods, NULL, NULL, NULL, NULL};

PyMODINIT_FUNC PyInit_capsule_client(void) {
    capsule = Orvane_ImportCapsule();
    return capsule == NULL ? NULL : PyModule_Create(&definition);
}
