/* The capsule's header in plain C. What its functions do is tested through the table itself. */
#include <orvane/capsule.h>

_Static_assert(sizeof(OrvaneCapsule) == 5 * sizeof(void*), "the table is five pointers");

static const OrvaneCapsule* capsule;

static PyObject* array_from_buffer(PyObject* self, PyObject* object) {
    (void)self;
    int typeCode;
    return capsule->arrayFromBuffer(object, &typeCode);
}

static PyMethodDef methods[] = {
    {"array_from_buffer", array_from_buffer, METH_O, NULL},
    {NULL, NULL, 0, NULL},
};

static struct PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "capsule_client", NULL, -1, methods, NULL, NULL, NULL, NULL};

PyMODINIT_FUNC PyInit_capsule_client(void) {
    capsule = Orvane_ImportCapsule();
    return capsule == NULL ? NULL : PyModule_Create(&definition);
}
